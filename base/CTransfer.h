#ifndef QMT_CTransfer_INCLUDED
#define QMT_CTransfer_INCLUDED

#include <string>

namespace QMT
{

/// How the files of a transaction get from one place to another. This class does it as the tool does: see copyFile and
/// moveFile. Others may keep more of a file, or look before they change one.
class CTransfer
{
public:
    CTransfer() = default;
    virtual ~CTransfer();
    CTransfer(const CTransfer&) = delete;
    CTransfer& operator=(const CTransfer&) = delete;
    CTransfer(CTransfer&&) = delete;
    CTransfer& operator=(CTransfer&&) = delete;

    /// Copies the file at `from` to `to`.
    virtual void copy(const std::string& from, const std::string& to);

    /// Moves the file at `from` to `to`.
    virtual void move(const std::string& from, const std::string& to);
};

} // namespace QMT

#endif // QMT_CTransfer_INCLUDED
