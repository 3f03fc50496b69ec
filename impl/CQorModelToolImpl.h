#ifndef QMT_CQorModelToolImpl_INCLUDED
#define QMT_CQorModelToolImpl_INCLUDED

#include "base/ManagedFile.h"
#include "impl/Action.h"
#include "impl/CFrameworkPaths.h"

#include <Poco/AutoPtr.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Poco
{
class Logger;
class Path;
namespace XML
{
class Document;
}
} // namespace Poco

namespace QMT
{

class CTransfer;
class CXMLParser;
enum class ReadResult;

/// What the options of this run have asked for so far.
struct Request
{
    bool helpRequested = false;
    bool commitRequested = false;
    bool rollbackRequested = false;
    bool addStaged = false;         ///< --addModelFile
    bool removeStaged = false;      ///< --removeModelFile before any --modelHandler
    bool removeWithHandler = false; ///< a removal and a handler, in either order
    bool handlerStaged = false;     ///< --modelHandler before any addition or removal
    bool statusRequested = false;   ///< recorded, but not used
    bool newSession = false;        ///< there was no lock file at start-up; recorded, but not used
    bool commandGiven = false;      ///< any option at all

    std::string modelFile;    ///< path given to --addModelFile or --removeModelFile
    std::string modelHandler; ///< name given to --modelHandler
};

/// The outcome of one queued action.
enum class ActionResult
{
    ADDED,   ///< a model file is on the list, the validator must judge it
    APPLIED, ///< done, or skipped without harm
    FAILED
};

/// The outcome of the whole queue.
struct QueueResult
{
    bool needsValidation = false; ///< some action ADDED
    bool failed = false;          ///< some action FAILED
};

/// The model validator's verdict on a list.
struct Judgement
{
    enum class Verdict
    {
        ACCEPTED,
        REJECTED, ///< or the validator ended abnormally
        ABSENT    ///< there is no validator
    };

    Verdict verdict = Verdict::ABSENT;
    std::string report;  ///< what the validator wrote
    std::string message; ///< the error when it could not be waited for or ended abnormally; otherwise empty
};

/// Everything the tool does to files and processes: the session file and its queue, the session lock, the model file
/// list, the framework directory, backups and checksums, installing and rolling back, and the model validator.
///
/// File errors are caught inside the operations and reported by a message and a result. backupFiles, cfgBackup,
/// commitCompleted with its two halves, and rollBack let the Poco::Exception reach the caller, and so do an existence
/// test of an empty path and a validator that cannot be started. The four also throw when a working copy or a backup
/// that they would use is a link of another user.
///
/// The object owns the queue and the document editor. The logger is not owned; no destructor uses it, since it may be
/// gone by then.
class CQorModelToolImpl
{
public:
    /// The results of tokenizeFIFO.
    static constexpr int QUEUE_VALID = 1;
    static constexpr int QUEUE_INVALID = 3;

    /// The results of createLockFile. Callers take every one but LOCK_EXISTED for success.
    static constexpr int LOCK_EXISTED = 0;
    static constexpr int LOCK_CREATED = 1;
    static constexpr int LOCK_FAILED = 3;

    /// Runs the framework agent, the executable that knows where the framework is installed.
    class QorEa
    {
    public:
        QorEa() = default;
        virtual ~QorEa();
        QorEa(const QorEa&) = delete;
        QorEa& operator=(const QorEa&) = delete;
        QorEa(QorEa&&) = delete;
        QorEa& operator=(QorEa&&) = delete;

        /// Joins `args` with single blanks.
        std::string serialize(const std::vector<std::string>& args) const;

        /// Asks the agent for the framework directory and appends its answer, without the blanks, tabs and line
        /// feeds at its end, to `dir`, which must be empty. An answer of nothing but such characters is kept.
        ///
        /// Waits for the agent to end before it reads. Throws a Poco::Exception when the agent cannot be run or ends
        /// with a status other than 0; `dir` then holds what the agent printed.
        void getEnvDir(std::string& dir) const;
    };

    /// `logger` takes the console messages of all operations.
    explicit CQorModelToolImpl(Poco::Logger* logger);
    ~CQorModelToolImpl();
    CQorModelToolImpl(const CQorModelToolImpl&) = delete;
    CQorModelToolImpl& operator=(const CQorModelToolImpl&) = delete;
    CQorModelToolImpl(CQorModelToolImpl&&) = delete;
    CQorModelToolImpl& operator=(CQorModelToolImpl&&) = delete;

    // ---- State shared with the tool object ----

    /// What this run was asked for.
    Request& request();
    const Request& request() const;

    /// The queued actions, filled by loadFIFO and by the staging options.
    CommandQueue& queue();

    /// The framework directory; empty until getEnvDir has filled it.
    std::string& qorPath();

    /// The handler of the action being committed.
    std::string& componentName();

    /// The managed object version of --managedObjectVersion or of the action being committed; "1" at first.
    std::string& moVersion();

    /// The transactional resource version of --transactionalResourceVersion or of the action being committed; "1" at
    /// first.
    std::string& trVersion();

    /// The full path of the model validator; empty counts as absent.
    void setValidatorPath(const std::string& path);

    /// The document editor, or null before setParser.
    CXMLParser* parser();

    /// Takes `parser` over and deletes the one held before.
    void setParser(std::unique_ptr<CXMLParser> parser);

    /// The names of the framework's files.
    CFrameworkPaths paths() const;

    /// From now on working copies and backups are made, and files installed, by `transfer`, which is not owned and
    /// outlives the object.
    void setTransfer(CTransfer& transfer);

    // ---- Session file and queue (SessionFile.cpp) ----

    /// Reads the whole file at `path` into `content`. A file that is missing or cannot be opened is no failure and
    /// leaves `content` as it was. False, with a line in the system log, when readWholeFile returns FAILED.
    [[nodiscard]] static bool loadFile(const std::string& path, std::string& content);

    /// Whether the session file exists. When that is unknown: false, and saveFIFO refuses to overwrite it until the
    /// queue has been loaded.
    [[nodiscard]] bool isFIFOFile();

    /// Adds the actions of the session file to the queue. False when the file is missing (silently) or, after messages,
    /// when it is a link of another user or cannot be read; true otherwise, even when tokenizeFIFO found it invalid. A
    /// file that cannot be opened counts as empty.
    bool loadFIFO();

    /// Parses the session file and pushes its actions to the front of the queue, in the order of the file.
    ///
    /// Returns QUEUE_VALID, or QUEUE_INVALID after a message: when an action is incomplete or there is none, and then
    /// the queue is unchanged, or when a kind is not a number, and then the actions before it stay queued.
    int tokenizeFIFO();

    /// Writes the whole queue to the session file, oldest action first, one "kind:text" a line, and waits until it is
    /// on the disk, with the names of the lock file and of the list's working copy. False, after messages, when that
    /// failed; the file may then be incomplete. Signals are blocked until it is written.
    ///
    /// Also false, with the file untouched, when the framework directory, the lock file or the session file could not
    /// be examined and the queue was not loaded: the actions of an open session would be lost.
    bool saveFIFO();

    /// Splits the text of a handler action into its three fields. A missing second separator gives both versions the
    /// same text. False, after messages and with the outputs untouched, when there is no separator.
    [[nodiscard]] bool extractHandlerMoVerTrVer(const std::string& entry, std::string& handler, std::string& moVersion,
                                                std::string& trVersion);

    /// Splits the text of an action on a model file with a handler into its four fields, with the same rules: only the
    /// first separator is required.
    [[nodiscard]] bool extractCommandHandlerMoVerTrVer(const std::string& entry, std::string& path,
                                                       std::string& handler, std::string& moVersion,
                                                       std::string& trVersion);

    /// Splits a queue entry into the fields of `action`, which is new, by the operation for its kind. False, after
    /// messages, when the text has no separator where its kind needs one; the fields are empty then.
    [[nodiscard]] bool splitEntry(const CommandQueueEntry& entry, Action& action);

    // ---- Session lock (SessionLock.cpp) ----

    /// This machine's host name.
    static std::string getHostName();

    /// Whether a session is open, on any host. When that is unknown: false, and saveFIFO refuses to write until the
    /// queue has been loaded or createLockFile has created the lock file.
    [[nodiscard]] bool isLockFile();

    /// Opens a session of this host: creates the lock file with the host name as its content. The content is on the
    /// disk then, the name only after saveFIFO.
    ///
    /// Returns LOCK_EXISTED when there was a lock file (it is left alone), LOCK_CREATED, or LOCK_FAILED after messages;
    /// a file created before the failure stays.
    int createLockFile();

    /// Reads the name of the host that owns the session, the first word of the lock file, into `host`. True, with
    /// `host` untouched, also when there is no word. False, after messages and with `host` untouched, when the lock
    /// file is missing or cannot be read.
    bool getSessionHost(std::string& host);

    // ---- Model file list (ModelFileList.cpp); all on the working copy, a missing one counts as empty ----

    /// The lines of the text `list` that are not blank, trimmed.
    static std::vector<std::string> trimmedLines(const std::string& list);

    /// Whether a file of any kind exists at `path`. Throws a Poco::Exception when `path` is empty.
    [[nodiscard]] static bool verifyFileExist(const std::string& path);

    /// True when `entry` is MISSING: when it is not even a part of some line.
    [[nodiscard]] bool verifyModelFileEntry(const std::string& entry) const;

    /// Appends `entry` and a newline. False, after a message, when the file could not be read, and then stays as it
    /// was, or could not be written, and then may be incomplete.
    [[nodiscard]] bool updateModelFile(const std::string& entry);

    /// Removes every line that contains `entry` and tidies the others (trimmed, no empty lines). Always true; a list
    /// that cannot be read, and then stays as it was, or cannot be written, and then may be incomplete, is reported.
    bool removeModelFileEntry(const std::string& entry);

    /// Adds the model file `path` to the list unless it is there already, which sets `alreadyListed`. False, after a
    /// message, when the model file does not exist or updateModelFile fails. Throws like verifyFileExist.
    [[nodiscard]] bool addModelFileEntry(const std::string& path, bool& alreadyListed);

    // ---- Installation environment (Environment.cpp) ----

    /// Finds the framework directory: from the agent, else QORPATH, else the environment file, else the default. The
    /// first that answers decides.
    ///
    /// True with the directory in `dir`, logged unless QORPATH gave it. QORPATH is taken as it is, even empty, and an
    /// environment file whose first line is empty leaves `dir` alone. False when another answer names a directory that
    /// does not exist, when the environment file cannot be read, and when nothing answers. An agent that fails is
    /// logged, and what it printed is left in `dir` unless a later answer replaces it.
    [[nodiscard]] bool getEnvDir(std::string& dir);

    /// Makes sure that the model directory exists, with all its parents. False, after messages, when it cannot be made.
    [[nodiscard]] bool validateEnvironment();

    // ---- Backups and checksums (Backups.cpp) ----

    /// Copies the live configuration and then the live list to their working copies. Returns true. A failure may
    /// leave the copy being made incomplete, and leaves the one after it unmade. The copies are on the disk then, the
    /// name of the list's only after saveFIFO.
    bool backupFiles();

    /// Copies the live configuration and then the live list to their backups, with the same rules. They are on the disk
    /// then, names included.
    bool cfgBackup();

    /// Removes working copies, session file and lock file, as far as they exist, and syncs the removals. Returns true;
    /// failures are ignored.
    bool cleanupTmp();

    /// The CRC-32 of the file's content; 0, that of an empty file, when the file is missing or cannot be read.
    [[nodiscard]] static std::uint32_t checksumFile(const std::string& path);

    /// Whether the live list has the checksum of its working copy. A missing file has that of an empty one. False when
    /// one of the files exists but cannot be read completely, and when the working copy is a link of another user.
    [[nodiscard]] bool crcCheckModelFiles() const;

    /// Whether the live configuration has the checksum of its working copy, with the same rules.
    [[nodiscard]] bool crcCheckQORFiles() const;

    // ---- Applying the queue (Actions.cpp) ----

    /// Loads the working copy of the configuration. Null, after a message, when it cannot be parsed or there is no
    /// editor.
    [[nodiscard]] Poco::AutoPtr<Poco::XML::Document> loadWorkingCopy();

    /// Applies one action to `document` and to the working copies. The component name and the versions become those of
    /// the action, if it has any. There must be an editor.
    ActionResult apply(const CommandQueueEntry& entry, Poco::XML::Document* document);

    /// Applies all queued actions, oldest first, and empties the queue. A failing action does not stop the others.
    QueueResult applyQueue(Poco::XML::Document* document);

    // ---- Installing and rolling back (CommitRollback.cpp) ----

    /// From now on every file made live gets the group `group` and the mode 0660. Off unless called; no command of the
    /// tool calls it.
    void adjustOwnership(std::uint32_t group);

    /// Makes the working copies live, keeps the previous files as backups, and ends the session: session file and lock
    /// file are removed. The list is installed first; a failure stops the sequence where it is, a signal does not.
    /// Returns true when all of it is on the disk.
    ///
    /// There must be backups of both live files, see cfgBackup: together with them, a matching pair is on the disk at
    /// every moment.
    bool commitCompleted();

    /// The first half of commitCompleted: makes the working copies live and removes the session file.
    void installWorkingCopies();

    /// The second half: removes the lock file. Returns when the removals are synced.
    void endSession();

    /// Restores the backups, unless a session is open or there is no backup of the list. False when there is no live
    /// list, true otherwise, with the result synced. A list or a backup of it for which stat fails counts as missing. A
    /// lock file or a backup of the configuration for which stat fails makes the call throw a Poco::FileException.
    /// Signals are blocked during the call.
    bool rollBack();

    /// Whether there is a backup of the list, which rollBack would restore.
    [[nodiscard]] bool hasBackup() const;

    /// Sets the mode of `path`; a failure goes to the system log only.
    static void modifyFilePermissions(const Poco::Path& path, unsigned int mode);

    /// Sets owner and group of `path`, 0xFFFFFFFF leaving one as it is; a failure goes to the system log only.
    static void modifyFileOwnerAndGroup(const Poco::Path& path, unsigned int owner, unsigned int group);

    // ---- Validation (Validation.cpp) ----

    /// Runs the model validator on the list at `list`, a path that is passed on unchanged. Reports a missing validator
    /// and an abnormal end by messages; the report is left to the caller. Throws a Poco::Exception when the process or
    /// its pipe cannot be created.
    [[nodiscard]] Judgement judge(const std::string& list);

    /// Whether the model validator exists; messages when not.
    [[nodiscard]] bool verifyModelTool();

    /// Runs the model validator on the live list. True, with the report on standard output, when it rejected the list
    /// or ended abnormally; false when it accepted or does not exist. Throws like judge.
    [[nodiscard]] bool checkModelCfgValidity();

    /// Waits for the child `pid` to end. Returns its exit status, 0 when there is no such child, or -1 after messages,
    /// whose text is appended to `message`, when it could not be waited for or ended by a signal.
    int wait(int pid, std::string& message);

private:
    static ReadResult load(const std::string& path, std::string& content);
    static void refuseLinkOfAnother(const std::string& path);
    bool loadSession(std::string& content) const;
    bool checkExistence(const std::string& path);
    void suspectSession(const std::string& path);
    bool requireFields(const std::string& entry);
    std::string removeLines(const std::string& entry, const std::string& list);
    bool findInstalledDirectory(std::string& dir);
    bool useExistingDirectory(const std::string& found, std::string& dir);
    void copyLiveFilesTo(ManagedFilePath copy) const;
    static std::optional<std::uint32_t> checksumOf(const std::string& path);
    static bool haveEqualChecksums(const ManagedFile& file);
    ActionResult addToList(const std::string& path);
    void workOn(const Action& action);
    ActionResult applyHandler(const Action& action, Poco::XML::Document* document);
    ActionResult applyRemovalWithHandler(const Action& action, Poco::XML::Document* document);
    void removeFromList(const std::string& path, const std::string& missingFile, const std::string& missingEntry);
    void install(const ManagedFile& file) const;
    void adjustOwnershipOf(const std::string& path) const;
    int reportWaitFailure(const std::string& text, int pid, std::string& message);

    // Not owned.
    Poco::Logger* const _logger;
    CTransfer* _transfer;

    // Owned, for the whole run.
    QorEa _agent;
    std::unique_ptr<CXMLParser> _parser;
    CommandQueue _queue;
    bool _isSessionUnknown = false; ///< there may be a session that could not be examined
    bool _isQueueLoaded = false;

    // Determined once, at the start of the run.
    std::string _qorPath;
    std::string _validatorPath;

    // The request of the run; the versions and the component name take the values of each action being committed.
    Request _request;
    std::string _componentName;
    std::string _moVersion = "1";
    std::string _trVersion = "1";

    // Dormant unless adjustOwnership is called.
    bool _adjustOwnership = false;
    std::uint32_t _group = 0;
};

} // namespace QMT

#endif // QMT_CQorModelToolImpl_INCLUDED
