#ifndef QMT_CTextBuffer_INCLUDED
#define QMT_CTextBuffer_INCLUDED

#include <streambuf>
#include <string>

namespace QMT
{

/// Collects in one string what is written to a stream.
///
/// The document writer hands over its text byte by byte, which this class is made for. A string stream would need
/// a copy of the text at the end, too. When memory runs out, the stream goes bad.
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
    // Makes the space after the first `written` bytes the put area.
    void setPutArea(std::string::size_type written);
    std::string::size_type size() const;

    // The text, and room for more of it, which is the put area of the stream buffer.
    std::string _text;
};

} // namespace QMT

#endif // QMT_CTextBuffer_INCLUDED
