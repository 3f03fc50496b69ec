#include "base/CTransfer.h"

#include "base/FileTransfer.h"

namespace QMT
{

CTransfer::~CTransfer() = default;

void CTransfer::copy(const std::string& from, const std::string& to)
{
    copyFile(from, to);
}

void CTransfer::move(const std::string& from, const std::string& to)
{
    moveFile(from, to);
}

} // namespace QMT
