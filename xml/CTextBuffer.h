#ifndef QMT_CTextBuffer_INCLUDED
#define QMT_CTextBuffer_INCLUDED

#include <streambuf>
#include <string>

namespace QMT
{

/// Collects in one string what is written to a stream.
///
/// The document writer hands over its text byte by byte, which is what this is made for; nor need the text be copied
/// out at the end, as from the library's string stream. When memory runs out, the stream goes bad.
class CTextBuffer : public std::streambuf
{
public:
    /// Makes room for `expectedSize` bytes, so that a text of about that size is never moved. Throws a std::bad_alloc
    /// when there is none.
    explicit CTextBuffer(std::string::size_type expectedSize);

    /// Everything written so far; valid until the next write.
    const std::string& text();

protected:
    int_type overflow(int_type character) override;
    std::streamsize xsputn(const char* characters, std::streamsize count) override;

private:
    // Makes what lies behind the first `written` bytes the room for the next ones.
    void offerRoomBehind(std::string::size_type written);
    std::string::size_type size() const;

    // The text, and room for more of it, which is the put area of the stream buffer.
    std::string _text;
};

} // namespace QMT

#endif // QMT_CTextBuffer_INCLUDED
