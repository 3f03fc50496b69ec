#ifndef QMT_CQorModelTool_INCLUDED
#define QMT_CQorModelTool_INCLUDED

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
} // namespace Poco

namespace QMT
{

class CQorModelToolImpl;

/// The logic of the tool: records what the options ask for, and runs it.
///
/// A run is: construction, the option handlers in command-line order, initialize, main.
class CQorModelTool
{
public:
    /// Finds the framework directory and, when this host has an open session, loads its queue. A directory that cannot
    /// be found is reported, and the constructor continues.
    ///
    /// Neither `impl` nor `logger` is owned. `impl` outlives the object; the logger, named "ConsoleLogger", is
    /// destroyed by the destructor unless it is null.
    CQorModelTool(CQorModelToolImpl* impl, Poco::Logger* logger);

    /// The same for a caller who knows the framework directory, `qorPath`, with or without a trailing slash: nothing is
    /// looked up, reported or loaded.
    CQorModelTool(CQorModelToolImpl* impl, Poco::Logger* logger, const std::string& qorPath);

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

    // The option handlers take the option's name, which none of them uses, and its value. The first three only record
    // that the option was given.

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
    /// cannot be examined, copied, moved, synced or removed, when the validator cannot be started, and when the path of
    /// an action's model file is empty.
    int main(const std::vector<std::string>& args);

    /// Whether the open session belongs to this host. False, after messages, when there is no readable lock file.
    bool isLockWithCurrentHost();

    // ---- For the document editor, which asks for nothing else ----

    /// Gives the framework directory.
    void getQorPath(Poco::Path& path) const;

    /// Gives the handler of the action being committed.
    void getComponentName(std::string& name) const;

private:
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
    void completeNewestEntry();

    // Commit and rollback.
    int rollBackOnRequest(bool lockExisted);
    int commit(bool lockExisted);
    int commitSession();
    void undoRejected();
    bool areLiveFilesUntouched() const;

    // Not owned.
    CQorModelToolImpl* const _impl;
    Poco::Logger* const _logger;
};

} // namespace QMT

#endif // QMT_CQorModelTool_INCLUDED
