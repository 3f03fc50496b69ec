// Framework files with any bytes: after a recovery that is not unclear, a second one finds nothing.
#include "FuzzedTool.h"

#include "ctl/CRecoveryCache.h"
#include "ctl/TornText.h"

#include <array>

using QMT::FilePair;
using QMT::Found;
using QMT::FrameworkContents;
using QMT::Fuzz::FuzzedTool;
using Text = std::optional<std::string>;

namespace
{

/// A queue adds its lines to the list, and the validator accepts nothing.
class CFacts : public QMT::CRecoveryFacts
{
public:
    std::string hostName() override
    {
        return "alpha";
    }

    std::vector<FilePair> queueResults(const FilePair& base, const std::string& session) override
    {
        std::vector<FilePair> results;
        FilePair result = base;
        for (const std::string& line : QMT::linesOf(session))
        {
            *result.list += line + "\n";
            results.push_back(result);
        }
        return results;
    }

    bool isLiveListRejected() override
    {
        return true;
    }

    std::string rootClassOf(const std::string& modelFile) override
    {
        return modelFile;
    }
};

FrameworkContents contentsOf(const std::string& input)
{
    FrameworkContents contents;
    const std::array<Text*, 8> files = {&contents.live.configuration,
                                        &contents.live.list,
                                        &contents.workingCopy.configuration,
                                        &contents.workingCopy.list,
                                        &contents.backup.configuration,
                                        &contents.backup.list,
                                        &contents.session,
                                        &contents.lock};
    const std::vector<Text> parts = QMT::Fuzz::partsOf(input, files.size());
    for (std::size_t index = 0; index < files.size(); ++index)
    {
        *files[index] = parts[index];
    }
    return contents;
}

QMT::Recovery read(const FrameworkContents& contents)
{
    CFacts facts;
    const QMT::SessionOwner owner = QMT::sessionOwner(contents.lock.value_or(""), facts.hostName());
    QMT::CRecoveryCache cache(facts);
    return QMT::decideRecovery(contents, owner, cache, std::nullopt);
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const FrameworkContents contents = contentsOf(QMT::Fuzz::textOf(data, size));
    const std::string session = contents.session.value_or("");
    const std::string kept = QMT::completeLines(session);
    if (session.compare(0, kept.size(), kept) != 0 || QMT::endsInsideLine(kept))
    {
        FuzzedTool::fail("what is kept of the queue is not its beginning");
    }
    const QMT::Recovery recovery = read(contents);
    if (recovery.found == Found::UNCLEAR)
    {
        return 0;
    }
    const Found again = read(recovery.after).found;
    if (again != Found::NOTHING && again != Found::UNCLEAR)
    {
        FuzzedTool::fail("a second recovery finds something");
    }
    return 0;
}
