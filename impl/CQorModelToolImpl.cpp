#include "impl/CQorModelToolImpl.h"

#include "base/CTransfer.h"
#include "xml/CXMLParser.h"

namespace QMT
{

namespace
{

CTransfer plainTransfer;

} // namespace

CQorModelToolImpl::CQorModelToolImpl(Poco::Logger* logger) : _logger(logger), _transfer(&plainTransfer)
{
}

CQorModelToolImpl::~CQorModelToolImpl() = default;

Request& CQorModelToolImpl::request()
{
    return _request;
}

const Request& CQorModelToolImpl::request() const
{
    return _request;
}

CommandQueue& CQorModelToolImpl::queue()
{
    return _queue;
}

std::string& CQorModelToolImpl::qorPath()
{
    return _qorPath;
}

std::string& CQorModelToolImpl::componentName()
{
    return _componentName;
}

std::string& CQorModelToolImpl::moVersion()
{
    return _moVersion;
}

std::string& CQorModelToolImpl::trVersion()
{
    return _trVersion;
}

void CQorModelToolImpl::setValidatorPath(const std::string& path)
{
    _validatorPath = path;
}

CXMLParser* CQorModelToolImpl::parser()
{
    return _parser.get();
}

void CQorModelToolImpl::setParser(std::unique_ptr<CXMLParser> parser)
{
    _parser = std::move(parser);
}

CFrameworkPaths CQorModelToolImpl::paths() const
{
    return CFrameworkPaths(_qorPath);
}

void CQorModelToolImpl::setTransfer(CTransfer& transfer)
{
    _transfer = &transfer;
}

} // namespace QMT
