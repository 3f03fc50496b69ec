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

/// Applies a queue of actions to copies of a pair of files in a scratch directory, with the operations of a commit. The
/// framework is only read: the actions' model files are used in place.
class CQueueTrial
{
public:
    /// Creates the scratch directory in the first of `places` with enough room. The working copies are those of `base`,
    /// which has both files; the queue has the actions of the session file with the content `session`.
    /// `logger`, not owned, gets the messages of the operations.
    ///
    /// Throws a Poco::FileException that names the first place or its file when all places fail.
    CQueueTrial(const FilePair& base, const std::string& session, Poco::Logger& logger,
                const std::vector<std::string>& places = {defaultPlace()});

    /// The default parent of scratch directories: $TMPDIR, or else /tmp.
    static std::string defaultPlace();

    /// Removes the scratch directory.
    ~CQueueTrial();
    CQueueTrial(const CQueueTrial&) = delete;
    CQueueTrial& operator=(const CQueueTrial&) = delete;
    CQueueTrial(CQueueTrial&&) = delete;
    CQueueTrial& operator=(CQueueTrial&&) = delete;

    /// Whether the configuration document can be parsed. Unless it can, no action can be applied.
    [[nodiscard]] bool isDocumentLoaded() const;

    /// The remaining actions, the next one at the back.
    const CommandQueue& queue();

    /// Applies the next action and removes it from the queue. There must be one, and the document must be loaded.
    /// Throws a Poco::Exception where a commit does.
    ActionResult applyNext();

    /// The present pair. Throws a Poco::FileException when it cannot be read.
    FilePair result() const;

    /// The validator's verdict on the present list.
    [[nodiscard]] Judgement judge();

    /// Appends an action to the remaining ones.
    void add(const CommandQueueEntry& entry);

    /// The present configuration document, for queries. It must be loaded.
    Poco::XML::Document& document();

    /// The text that the editor would write for the present document. Empty when it cannot be written.
    std::string documentText();

    /// Whether every write of the document has succeeded.
    [[nodiscard]] bool isDocumentWritten();

    /// The present list. Throws like result.
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
