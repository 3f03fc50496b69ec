#ifndef QMT_CTransfer_INCLUDED
#define QMT_CTransfer_INCLUDED

#include <string>

namespace QMT
{

/// Copies and moves the files of a transaction. This class uses copyFile and moveFile, whose errors and results
/// apply. Derived classes may keep more attributes, or check before a change.
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
