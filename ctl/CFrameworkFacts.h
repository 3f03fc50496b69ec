#ifndef QMT_CFrameworkFacts_INCLUDED
#define QMT_CFrameworkFacts_INCLUDED

#include "ctl/Recovery.h"

#include <string>

namespace QMT
{

/// The facts of a real framework, from the operations of the tool and from the framework's validator.
class CFrameworkFacts : public CRecoveryFacts
{
public:
    /// Accesses no file.
    explicit CFrameworkFacts(const std::string& qorPath);

    std::string hostName() override;

    /// Throws a Poco::FileException when there is no room for the copies on which the queue is tried.
    std::vector<FilePair> queueResults(const FilePair& base, const std::string& session) override;

    /// Throws a Poco::Exception when no process can be created for the validator.
    bool isLiveListRejected() override;

    std::string rootClassOf(const std::string& modelFile) override;

private:
    const std::string _qorPath;
};

} // namespace QMT

#endif // QMT_CFrameworkFacts_INCLUDED
