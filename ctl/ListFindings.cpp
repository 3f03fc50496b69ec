#include "ctl/ListFindings.h"

#include "ctl/ContainedLines.h"
#include "ctl/TornText.h"

#include <unordered_map>
#include <unordered_set>

namespace QMT
{

namespace
{

class ListCheck
{
public:
    ListCheck(const std::string& path, const std::vector<InstalledModel>& models, CRemedies& remedies)
        : _path(path), _models(models), _remedies(remedies)
    {
    }

    std::vector<Finding> findings;

    void checkModels()
    {
        std::unordered_set<std::string> known;
        for (const InstalledModel& model : _models)
        {
            if (known.insert(model.file).second)
            {
                checkModel(model);
            }
        }
    }

    void checkTwice()
    {
        std::unordered_map<std::string, std::size_t> counts;
        for (const InstalledModel& model : _models)
        {
            // Reported at the second of its lines, and so only once.
            if (++counts[model.file] == 2)
            {
                add(FindingId::MODEL_TWICE, model.file, "the model file is listed more than once",
                    inList("remove all of its lines but one"));
            }
        }
    }

    void checkContained()
    {
        std::vector<std::string> lines;
        lines.reserve(_models.size());
        for (const InstalledModel& model : _models)
        {
            lines.push_back(model.file);
        }
        for (const auto& [line, container] : findContainedLines(lines))
        {
            add(FindingId::MODEL_CONTAINED, line, "the path is part of the line " + container,
                "move the model file to a path that is part of no other line, and " +
                    inList("write that path in its line"));
        }
    }

    void checkEnd(const std::string& list)
    {
        if (endsInsideLine(list))
        {
            add(FindingId::LIST_END, _path, "the last line has no line feed",
                _remedies.command(_path, "echo >>" + shellWord(_path)));
        }
    }

private:
    void add(FindingId id, const std::string& file, const std::string& text, const std::string& remedy)
    {
        findings.push_back({id, file, text, remedy});
    }

    std::string inList(const std::string& what) const
    {
        return _remedies.edit(_path, what);
    }

    void checkModel(const InstalledModel& model)
    {
        const std::string takeOff = "; or, " + inList("remove every line with its path");
        switch (model.state)
        {
        case ModelState::READ:
            break;
        case ModelState::MISSING:
            add(FindingId::MODEL_MISSING, model.file, "the model file does not exist", "put it back" + takeOff);
            break;
        case ModelState::UNREADABLE:
            add(FindingId::MODEL_UNREADABLE, model.file, "the model file cannot be read",
                "make it a file that the caller may read" + takeOff);
            break;
        case ModelState::MALFORMED:
            add(FindingId::MODEL_UNREADABLE, model.file, "the model file cannot be parsed", "correct it" + takeOff);
            break;
        case ModelState::NAMELESS:
            add(FindingId::MODEL_UNREADABLE, model.file, "the root class has no name",
                "give a name to the element that holds the element root" + takeOff);
            break;
        case ModelState::ROOTLESS:
            add(FindingId::MODEL_ROOTLESS, model.file, "the model file has no root class, so no handler can serve it",
                "put an element root into its root class" + takeOff);
            break;
        case ModelState::RELATIVE:
            add(FindingId::MODEL_RELATIVE, model.file, "the path is not absolute",
                inList("write the absolute path in its line"));
            break;
        }
    }

    const std::string _path;
    const std::vector<InstalledModel>& _models;
    CRemedies& _remedies;
};

} // namespace

std::vector<Finding> findInList(const std::string& path, const std::string& list,
                                const std::vector<InstalledModel>& models, CRemedies& remedies)
{
    ListCheck check(path, models, remedies);
    check.checkModels();
    check.checkTwice();
    check.checkContained();
    check.checkEnd(list);
    return check.findings;
}

} // namespace QMT
