#include "ctl/DocumentFindings.h"

#include <Poco/String.h>

#include <unordered_map>
#include <unordered_set>

namespace QMT
{

namespace
{

using Names = std::vector<std::string>;

/// The handlers that have a handler name, or a root class, by that name. The names are in the order in which they occur
/// first.
class Owners
{
public:
    void add(const std::string& name, std::size_t handler)
    {
        std::vector<std::size_t>& handlers = _handlers[name];
        if (handlers.empty())
        {
            _names.push_back(name);
        }
        handlers.push_back(handler);
    }

    const Names& names() const
    {
        return _names;
    }

    const std::vector<std::size_t>& of(const std::string& name) const
    {
        return _handlers.at(name);
    }

private:
    Names _names;
    std::unordered_map<std::string, std::vector<std::size_t>> _handlers;
};

class DocumentCheck
{
public:
    DocumentCheck(const std::string& path, const Configuration& configuration, CRemedies& remedies)
        : _path(path), _configuration(configuration), _remedies(remedies)
    {
        for (std::size_t i = 0; i < configuration.handlers.size(); ++i)
        {
            for (const std::string& rootClass : configuration.handlers[i].rootClasses)
            {
                _roots.add(rootClass, i);
            }
        }
    }

    std::vector<Finding> findings;

    void checkContainers()
    {
        if (_configuration.containerCount == 0)
        {
            add(FindingId::PARTICIPANTS_NOT_ONE, "there is no element participants",
                "put all participant elements into one element participants");
        }
        else if (_configuration.containerCount > 1)
        {
            add(FindingId::PARTICIPANTS_NOT_ONE,
                "there are " + std::to_string(_configuration.containerCount) + " elements participants",
                "move all participant elements into the first element participants, and remove the others");
        }
    }

    void checkPlaceholders()
    {
        for (std::size_t i = 1; i < _configuration.handlers.size(); ++i)
        {
            if (_configuration.handlers[i].isPlaceholder())
            {
                add(FindingId::PLACEHOLDER_NOT_FIRST,
                    "the placeholder is handler number " + std::to_string(i + 1) + ", and will never be taken over",
                    _configuration.handlers[0].isPlaceholder()
                        ? "move its root entries into the first participant, and remove its own"
                        : "move its participant before all others");
            }
        }
    }

    void checkNames()
    {
        Owners owners;
        for (std::size_t i = 0; i < _configuration.handlers.size(); ++i)
        {
            owners.add(_configuration.handlers[i].name, i);
        }
        for (const std::string& name : owners.names())
        {
            const std::size_t count = owners.of(name).size();
            if (count > 1 && !name.empty())
            {
                add(FindingId::HANDLER_TWICE, std::to_string(count) + " participants have the handler name " + name,
                    "move their root entries into the first of them, and remove the others");
            }
        }
    }

    void checkRootsTwice()
    {
        for (const std::string& rootClass : _roots.names())
        {
            const std::vector<std::size_t>& owners = _roots.of(rootClass);
            if (owners.size() > 1 && !rootClass.empty())
            {
                add(FindingId::ROOT_TWICE,
                    "the root class " + rootClass + " is served " + std::to_string(owners.size()) + " times, by " +
                        handlersOf(rootClass),
                    "remove all entries <root name=\"" + rootClass + "\"/> but the first");
            }
        }
    }

    void checkRootsListed(const std::vector<InstalledModel>& models)
    {
        std::unordered_set<std::string> listed;
        for (const InstalledModel& model : models)
        {
            if (model.state == ModelState::READ)
            {
                listed.insert(model.rootClass);
            }
        }
        for (const std::string& rootClass : _roots.names())
        {
            if (rootClass.empty())
            {
                add(FindingId::ROOT_UNLISTED, "there is a root entry without a name, in " + handlersOf(rootClass),
                    "remove the root entries without a name");
            }
            else if (listed.count(rootClass) == 0)
            {
                addUnlisted(rootClass);
            }
        }
    }

private:
    void add(FindingId id, const std::string& text, const std::string& edit)
    {
        findings.push_back({id, _path, text, _remedies.edit(_path, edit)});
    }

    void addUnlisted(const std::string& rootClass)
    {
        const std::string edit = _remedies.edit(_path, "remove its root entry");
        findings.push_back(
            {FindingId::ROOT_UNLISTED, _path,
             "no listed model file has the root class " + rootClass + ", which is served by " + handlersOf(rootClass),
             _remedies.call("apply --add=FILE") + " for the model file that has it; or, if it has gone, " + edit});
    }

    std::string label(std::size_t handler) const
    {
        const std::string& name = _configuration.handlers[handler].name;
        return name.empty() ? "participant number " + std::to_string(handler + 1) : name;
    }

    /// The handlers that have the root class, each once.
    std::string handlersOf(const std::string& rootClass) const
    {
        const std::vector<std::size_t>& owners = _roots.of(rootClass);
        Names labels;
        for (std::size_t i = 0; i < owners.size(); ++i)
        {
            if (i == 0 || owners[i] != owners[i - 1])
            {
                labels.push_back(label(owners[i]));
            }
        }
        return Poco::cat(std::string(", "), labels.begin(), labels.end());
    }

    const std::string _path;
    const Configuration& _configuration;
    CRemedies& _remedies;
    Owners _roots;
};

} // namespace

std::vector<Finding> findInDocument(const std::string& path, const Configuration& configuration,
                                    const std::optional<std::vector<InstalledModel>>& models, CRemedies& remedies)
{
    DocumentCheck check(path, configuration, remedies);
    check.checkContainers();
    check.checkPlaceholders();
    check.checkNames();
    check.checkRootsTwice();
    if (models)
    {
        check.checkRootsListed(*models);
    }
    return check.findings;
}

} // namespace QMT
