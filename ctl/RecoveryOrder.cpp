#include "ctl/RecoveryOrder.h"

#include "ctl/SessionOwner.h"

#include <algorithm>
#include <map>
#include <set>

namespace QMT
{

namespace
{

using Steps = std::vector<RecoveryStep>;

/// Which steps are done.
using Done = std::set<std::size_t>;

/// How a second recovery ends after an interruption, from best to worst.
enum class End
{
    SAME,  ///< with the same files
    ASKED, ///< with a question
    OTHER  ///< with other files
};

class CSearch
{
public:
    CSearch(const Steps& steps, const FrameworkContents& now, const FrameworkContents& after, CRecoveryCache& facts,
            std::optional<Assumption> assumption)
        : _steps(steps), _now(now), _after(after), _facts(facts), _assumption(assumption), _verdict(facts.verdict())
    {
    }

    /// The order; empty when there is none in which no interruption ends worse than `worst`.
    Steps order(End worst, bool isConfigurationFirst)
    {
        _worst = worst;
        _isConfigurationFirst = isConfigurationFirst;
        _tried.clear();
        Steps order;
        return isOrdered(Done(), order) ? order : Steps();
    }

private:
    /// Adds the steps that are not in `done` to `order`.
    bool isOrdered(const Done& done, Steps& order) // NOLINT(misc-no-recursion)
    {
        if (done.size() == _steps.size())
        {
            return true;
        }
        for (std::size_t step = 0; step < _steps.size(); ++step)
        {
            Done next = done;
            if (!next.insert(step).second || !isAllowed(step, done) || !_tried.insert(next).second ||
                endAfter(next) > _worst)
            {
                continue;
            }
            order.push_back(_steps[step]);
            if (isOrdered(next, order))
            {
                return true;
            }
            order.pop_back();
        }
        return false;
    }

    /// Backups are changed in the order in which a commit makes them, if that is asked for.
    bool isAllowed(std::size_t step, const Done& done) const
    {
        FrameworkContents any;
        const auto changes = [&any](const RecoveryStep& change, const std::optional<std::string>& file)
        { return &change.file(any) == &file; };
        if (!_isConfigurationFirst || !changes(_steps[step], any.backup.list))
        {
            return true;
        }
        const auto changesConfiguration = [&](const RecoveryStep& other)
        { return changes(other, any.backup.configuration); };
        const auto first = std::find_if(_steps.begin(), _steps.end(), changesConfiguration);
        return first == _steps.end() || done.count(static_cast<std::size_t>(first - _steps.begin())) != 0;
    }

    End endAfter(const Done& done)
    {
        if (done.size() == _steps.size())
        {
            return End::SAME;
        }
        const auto known = _ends.find(done);
        if (known != _ends.end())
        {
            return known->second;
        }
        FrameworkContents left = _now;
        for (const std::size_t step : done)
        {
            _steps[step].file(left) = _steps[step].content;
        }
        return _ends[done] = endOf(left);
    }

    End endOf(const FrameworkContents& left)
    {
        End end = End::SAME;
        for (const bool isRejected : {false, true})
        {
            const bool isKnown = _verdict && left.live.list == _now.live.list;
            _facts.assumeVerdict(isKnown ? *_verdict : isRejected);
            const SessionOwner owner = sessionOwner(left.lock.value_or(""), _facts.hostName());
            const Recovery recovery = decideRecovery(left, owner, _facts, _assumption);
            if (recovery.found == Found::UNCLEAR)
            {
                end = std::max(end, End::ASKED);
            }
            else if (!(recovery.after == _after))
            {
                end = End::OTHER;
            }
        }
        return end;
    }

    const Steps& _steps;
    const FrameworkContents& _now;
    const FrameworkContents& _after;
    CRecoveryCache& _facts;
    const std::optional<Assumption> _assumption;
    const std::optional<bool> _verdict;
    std::map<Done, End> _ends;

    // The current search.
    End _worst = End::SAME;
    bool _isConfigurationFirst = true;
    std::set<Done> _tried;
};

} // namespace

std::vector<RecoveryStep> inSafeOrder(const std::vector<RecoveryStep>& steps, const FrameworkContents& now,
                                      const FrameworkContents& after, CRecoveryCache& facts,
                                      std::optional<Assumption> assumption)
{
    CSearch search(steps, now, after, facts, assumption);
    for (const End worst : {End::SAME, End::ASKED})
    {
        for (const bool isConfigurationFirst : {true, false})
        {
            Steps order = search.order(worst, isConfigurationFirst);
            if (!order.empty())
            {
                return order;
            }
        }
    }
    return steps;
}

} // namespace QMT
