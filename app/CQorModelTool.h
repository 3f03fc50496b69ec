#ifndef QMT_CQorModelTool_INCLUDED
#define QMT_CQorModelTool_INCLUDED

#include <Poco/AutoPtr.h>

#include <cstdint>
#include <string>
#include <vector>

namespace Poco
{
class Logger;
class Path;
namespace Util
{
class Application;
class OptionSet;
} // namespace Util
namespace XML
{
class Document;
} // namespace XML
} // namespace Poco

namespace QMT
{

class CQorModelToolImpl;
class CXMLParser;
enum class CmdID : std::int32_t;

/// The logic of the tool: records what the options ask for, and runs it.
///
/// A run is: construction, the option handlers in command-line order, initialize, main.
class CQorModelTool
{
public:
    /// Finds the framework directory and, when this host has an open session, loads its queue. A directory that cannot
    /// be found is reported, and the construction goes on.
    ///
    /// Neither `impl` nor `logger` is owned. `impl` outlives the object; the logger, named "ConsoleLogger", is
    /// destroyed by the destructor unless it is null.
    CQorModelTool(CQorModelToolImpl* impl, Poco::Logger* logger);
    virtual ~CQorModelTool();
    CQorModelTool(const CQorModelTool&) = delete;
    CQorModelTool& operator=(const CQorModelTool&) = delete;
    CQorModelTool(CQorModelTool&&) = delete;
    CQorModelTool& operator=(CQorModelTool&&) = delete;

    // ---- Options (Options.cpp) ----

    /// Adds the nine options, each bound to its handler.
    void defineOptions(Poco::Util::OptionSet& options);

    /// Writes the help text for `options` of the program `command` to standard output.
    void displayHelp(const Poco::Util::OptionSet& options, std::string& command);

    /// Checks the environment and gives the implementation object its document editor. An invalid environment is
    /// reported, and there is no editor then.
    void initialize(Poco::Util::Application& application);

    /// Whether any option was given.
    bool isCmdGiven() const;

    /// Whether help was asked for.
    bool isHelpRequested() const;

    /// The logger given to the constructor.
    Poco::Logger* logger() const;

    // The option handlers take the option's name, which none of them uses, and its value.

    void handleHelp(const std::string& name, const std::string& value);
    void handleCommit(const std::string& name, const std::string& value);
    void handleRollback(const std::string& name, const std::string& value);

    // ---- Staging options (StagingOptions.cpp): they record, and the driver judges ----

    /// Stages the model file `value` for addition, to the handler staged before it, if there is one.
    void handleAddModelFile(const std::string& name, const std::string& value);

    /// Stages the model file `value` for removal.
    void handleRemoveModelFile(const std::string& name, const std::string& value);

    /// Stages the handler `value`, for the model file staged before it, if there is one.
    void handleModelHandler(const std::string& name, const std::string& value);

    /// Records the managed object version `value` and logs it.
    void handleManagedObjectVersion(const std::string& name, const std::string& value);

    /// Records the transactional resource version `value`.
    void handleTransactionalResourceVersion(const std::string& name, const std::string& value);

    // ---- Status report (StatusReport.cpp) ----

    /// Lists the queued actions on the logger, oldest first, whichever host owns the session. Changes no file.
    void handleStatus(const std::string& name, const std::string& value);

    // ---- Driver (Driver.cpp, StagingFlow.cpp, CommitFlow.cpp) ----

    /// Runs what was asked for: rejects contradictions, stages, rolls back, commits. `args` is not used.
    ///
    /// Returns the exit status: 0, or -1 when a commit failed. A Poco::Exception leaves the operation when a file
    /// cannot be looked at, copied, moved, brought to the disk or removed, when there is no process for the validator,
    /// and when an action's model file has no name.
    int main(const std::vector<std::string>& args);

    /// Whether the open session belongs to this host. False, after messages, when there is no lock file to be read.
    bool isLockWithCurrentHost();

    // ---- For the document editor, which asks for nothing else ----

    /// Gives the framework directory.
    void getQorPath(Poco::Path& path) const;

    /// Gives the handler of the action being committed.
    void getComponentName(std::string& name) const;

private:
    using DocumentPtr = Poco::AutoPtr<Poco::XML::Document>;

    /// What became of one queued action.
    enum class ActionResult
    {
        ADDED,   ///< a model file is on the list, the validator must judge it
        APPLIED, ///< done, or skipped without harm
        FAILED
    };

    /// What became of the whole queue.
    struct QueueResult
    {
        bool needsValidation = false;
        bool failed = false;
    };

    // Driver.
    bool rejectContradiction();
    bool isStagingRequested() const;
    int succeed();
    int fail();

    // Staging.
    bool stage(bool lockExisted);
    bool waitForLock();
    void announceSession();
    void announceEntry(const std::string& line);
    void refuse();

    // Commit and rollback.
    int rollBackOnRequest(bool lockExisted);
    int commit(bool lockExisted);
    int commitSession();
    bool areLiveFilesUntouched() const;
    DocumentPtr loadWorkingCopy();
    QueueResult applyQueue(Poco::XML::Document* document);

    // The kinds of action (Actions.cpp).
    CXMLParser& editor();
    void completeNewestEntry();
    std::string statusLine(CmdID kind, const std::string& text);
    std::string stagingLine(CmdID kind, const std::string& text);
    ActionResult apply(CmdID kind, const std::string& text, Poco::XML::Document* document);
    ActionResult applyAddition(const std::string& path);
    ActionResult applyHandler(const std::string& text, Poco::XML::Document* document);
    ActionResult applyRemoval(const std::string& path);
    ActionResult applyAdditionWithHandler(const std::string& text, Poco::XML::Document* document);
    ActionResult applyRemovalWithHandler(const std::string& text, Poco::XML::Document* document);
    void removeFromList(const std::string& path, const std::string& missingFile, const std::string& missingEntry);

    // Not owned.
    CQorModelToolImpl* const _impl;
    Poco::Logger* const _logger;
};

} // namespace QMT

#endif // QMT_CQorModelTool_INCLUDED
