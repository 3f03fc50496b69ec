#ifndef QMT_CTextBuffer_INCLUDED
#define QMT_CTextBuffer_INCLUDED

#include <streambuf>
#include <string>

namespace QMT
{

/// A stream buffer that collects the written text in one string.
///
/// It is fast for the document writer, which writes byte by byte, and saves the copy of the whole text that a string
/// stream returns. When memory runs out, the stream goes bad.
class CTextBuffer : public std::streambuf
{
public:
    /// Allocates `expectedSize` bytes, so that a text of up to that size is never moved. Throws a std::bad_alloc when
    /// that fails.
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
