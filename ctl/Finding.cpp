#include "ctl/Finding.h"

#include <array>

namespace QMT
{

namespace
{

struct Kind
{
    const char* name;
    bool isError;
};

/// In the order of FindingId.
constexpr std::array<Kind, 26> KINDS = {{{"agent-missing", false},
                                         {"validator-missing", false},
                                         {"configuration-missing", true},
                                         {"list-missing", true},
                                         {"configuration-unreadable", true},
                                         {"list-unreadable", true},
                                         {"participants-not-one", true},
                                         {"placeholder-not-first", false},
                                         {"handler-twice", true},
                                         {"root-twice", true},
                                         {"root-unlisted", false},
                                         {"model-missing", true},
                                         {"model-unreadable", true},
                                         {"model-rootless", false},
                                         {"model-relative", true},
                                         {"model-twice", false},
                                         {"model-contained", false},
                                         {"list-end", true},
                                         {"session-foreign", false},
                                         {"session-stale", true},
                                         {"session-leftover", false},
                                         {"session-invalid", true},
                                         {"live-changed", true},
                                         {"commit-interrupted", true},
                                         {"rollback-interrupted", true},
                                         {"ownership", false}}};

} // namespace

std::string nameOf(FindingId id)
{
    return KINDS.at(static_cast<std::size_t>(id)).name;
}

bool isError(FindingId id)
{
    return KINDS.at(static_cast<std::size_t>(id)).isError;
}

} // namespace QMT
