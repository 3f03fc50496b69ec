#ifndef QMT_FrameworkSummary_INCLUDED
#define QMT_FrameworkSummary_INCLUDED

#include "ctl/Configuration.h"
#include "ctl/InstalledModels.h"
#include "ctl/SessionOwner.h"
#include "impl/Action.h"

#include <optional>
#include <string>
#include <vector>

namespace QMT
{

/// A listed model file, and the names of the handlers that serve its root class.
struct ServedModel
{
    InstalledModel model;
    std::vector<std::string> handlers;
};

/// An open session.
struct SessionSummary
{
    SessionOwner owner;                     ///< of nobody when the lock file is empty or cannot be read
    std::string since;                      ///< when the lock file was made
    std::vector<CommandQueueEntry> actions; ///< those of the session file, up to its first fault
};

/// What is installed in a framework, who serves it, and whether a session is open.
struct FrameworkSummary
{
    std::optional<std::vector<ServedModel>> models; ///< nothing when there is no readable list
    std::optional<Configuration> configuration;     ///< nothing when there is none that can be parsed
    std::optional<SessionSummary> session;          ///< nothing when no session is open
    std::optional<std::string> backupSince;         ///< the time of the list's backup; nothing when there is none
    std::vector<std::string> failures;              ///< what could not be read, each with the file's path
};

/// Reads the summary of the framework directory `qorPath`; times are those of ISO 8601, in UTC. Changes nothing.
FrameworkSummary readSummary(const std::string& qorPath);

} // namespace QMT

#endif // QMT_FrameworkSummary_INCLUDED
