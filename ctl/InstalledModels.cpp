#include "ctl/InstalledModels.h"

#include "base/WholeFile.h"
#include "impl/CQorModelToolImpl.h"
#include "xml/CXMLParser.h"

#include <Poco/DOM/Document.h>

#include <unordered_map>

namespace QMT
{

namespace
{

ModelState readRootClass(const std::string& model, std::string& rootClass)
{
    CXMLParser::DocumentPtr document = CXMLParser::parseFile(model);
    if (document.isNull())
    {
        return ModelState::MALFORMED;
    }
    switch (CXMLParser::findRootClass(*document, rootClass))
    {
    case CXMLParser::SUCCESS:
        return ModelState::READ;
    case CXMLParser::NO_ROOT_CLASS:
        return ModelState::ROOTLESS;
    default:
        return ModelState::NAMELESS;
    }
}

ModelState readModel(const std::string& file, std::string& rootClass)
{
    if (file.front() != '/')
    {
        return ModelState::RELATIVE;
    }
    // The system would cut the path at a NUL.
    if (file.find('\0') != std::string::npos)
    {
        return ModelState::MISSING;
    }
    std::string model;
    switch (readWholeFile(file, model))
    {
    case ReadResult::READ:
        return readRootClass(model, rootClass);
    case ReadResult::MISSING:
        return ModelState::MISSING;
    case ReadResult::NOT_OPENED:
    case ReadResult::FAILED:
        break;
    }
    return ModelState::UNREADABLE;
}

} // namespace

std::vector<InstalledModel> readInstalledModels(const std::string& list)
{
    std::vector<InstalledModel> models;
    // A list may name one file many times.
    std::unordered_map<std::string, std::size_t> known;
    for (const std::string& line : CQorModelToolImpl::trimmedLines(list))
    {
        const auto [first, isNew] = known.emplace(line, models.size());
        if (isNew)
        {
            models.push_back({line, ModelState::MISSING, std::string()});
            models.back().state = readModel(line, models.back().rootClass);
        }
        else
        {
            models.push_back(models[first->second]);
        }
    }
    return models;
}

} // namespace QMT
