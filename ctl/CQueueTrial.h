#ifndef QMT_CQueueTrial_INCLUDED
#define QMT_CQueueTrial_INCLUDED

#include "ctl/FrameworkContents.h"
#include "impl/CQorModelToolImpl.h"

#include <Poco/AutoPtr.h>

#include <memory>
#include <string>
#include <vector>

namespace QMT
{

class CQorModelTool;

/// Applies a queue of actions to copies of a pair of files, in a scratch directory, by the operations that a commit
/// uses. The framework is only read: the actions' model files are used in place.
class CQueueTrial
{
public:
    /// Makes the scratch directory in the first of `places` that has room, with `base`, both files of which are there,
    /// as the working copies and `session` as the content of the session file, whose actions become the queue.
    /// `logger`, not owned, gets the messages of the operations.
    ///
    /// Throws a Poco::FileException that names the first place or its file when that fails in all of them.
    CQueueTrial(const FilePair& base, const std::string& session, Poco::Logger& logger,
                const std::vector<std::string>& places = {defaultPlace()});

    /// The default place of scratch directories: $TMPDIR, or else /tmp.
    static std::string defaultPlace();

    /// Removes the scratch directory.
    ~CQueueTrial();
    CQueueTrial(const CQueueTrial&) = delete;
    CQueueTrial& operator=(const CQueueTrial&) = delete;
    CQueueTrial(CQueueTrial&&) = delete;
    CQueueTrial& operator=(CQueueTrial&&) = delete;

    /// Whether the configuration document can be parsed. Unless it can, no action can be applied.
    [[nodiscard]] bool isDocumentLoaded() const;

    /// The actions that are left, the next one at the back.
    const CommandQueue& queue();

    /// Applies the next action and takes it from the queue. There must be one, and the document must be loaded. Throws
    /// a Poco::Exception where a commit does.
    ActionResult applyNext();

    /// The pair as it is now. Throws a Poco::FileException when it cannot be read.
    FilePair result() const;

    /// The validator's verdict on the list as it is now.
    [[nodiscard]] Judgement judge();

    /// Appends an action to those that are left.
    void add(const CommandQueueEntry& entry);

    /// The configuration document as it is now, for queries. It must be loaded.
    Poco::XML::Document& document();

    /// Its text as the editor would write it now, whether written already or not. Empty when it cannot be written.
    std::string documentText();

    /// Whether every write of the document has succeeded.
    [[nodiscard]] bool isDocumentWritten();

    /// The list as it is now. Throws like result.
    std::string list() const;

    /// The root class of the model file at `modelFile`, by the rules of CXMLParser::getRootClassName.
    [[nodiscard]] int rootClassOf(const std::string& modelFile, std::string& rootClass);

private:
    class CScratchDirectory;

    const std::unique_ptr<CScratchDirectory> _directory;
    CQorModelToolImpl _impl;
    std::unique_ptr<CQorModelTool> _tool;
    Poco::AutoPtr<Poco::XML::Document> _document;
};

} // namespace QMT

#endif // QMT_CQueueTrial_INCLUDED
