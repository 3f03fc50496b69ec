#include "ctl/UnifiedDiff.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace QMT
{

namespace
{

using Lines = std::vector<std::string_view>;

/// The lines with their line feeds.
Lines viewedLines(std::string_view text)
{
    Lines lines;
    while (!text.empty())
    {
        const std::string_view line = text.substr(0, std::min(text.find('\n'), text.size() - 1) + 1);
        lines.push_back(line);
        text.remove_prefix(line.size());
    }
    return lines;
}

/// Numbers the lines, equal ones alike, so that two lines compare like two numbers.
std::vector<int> numbersOf(const Lines& lines, std::unordered_map<std::string_view, int>& known)
{
    std::vector<int> numbers;
    for (const std::string_view line : lines)
    {
        numbers.push_back(known.emplace(line, static_cast<int>(known.size())).first->second);
    }
    return numbers;
}

/// A part of both texts, by the numbers of its lines; the ends are excluded.
struct Range
{
    int beginBefore;
    int endBefore;
    int beginAfter;
    int endAfter;
};

/// Finds which lines of two texts are the same.
class CComparison
{
public:
    CComparison(const Lines& before, const Lines& after)
        : _before(numbersOf(before, _known)), _after(numbersOf(after, _known)), _partner(before.size(), NONE)
    {
        compare({0, static_cast<int>(_before.size()), 0, static_cast<int>(_after.size())});
    }

    /// For each line of the text before, the line of the text after that it became, or NONE. They increase.
    const std::vector<int>& partners() const
    {
        return _partner;
    }

    static constexpr int NONE = -1;

private:
    using Pairs = std::vector<std::pair<int, int>>;

    void compare(Range range)
    {
        trimFront(range);
        trimBack(range);
        if (range.beginBefore == range.endBefore || range.beginAfter == range.endAfter || compareShortest(range))
        {
            return;
        }
        Range rest = range;
        for (const auto& [before, after] : anchors(range))
        {
            // What is trimmed behind a line begins with the line itself, and may hold the next ones.
            if (before >= rest.beginBefore)
            {
                compare({rest.beginBefore, before, rest.beginAfter, after});
                rest.beginBefore = before;
                rest.beginAfter = after;
                trimFront(rest);
            }
        }
        if (rest.beginBefore != range.beginBefore || rest.beginAfter != range.beginAfter)
        {
            compare(rest);
        }
    }

    bool isSame(int before, int after) const
    {
        return _before[static_cast<std::size_t>(before)] == _after[static_cast<std::size_t>(after)];
    }

    void match(int before, int after)
    {
        _partner[static_cast<std::size_t>(before)] = after;
    }

    /// Trims the equal lines at the beginning.
    void trimFront(Range& range)
    {
        while (range.beginBefore < range.endBefore && range.beginAfter < range.endAfter &&
               isSame(range.beginBefore, range.beginAfter))
        {
            match(range.beginBefore++, range.beginAfter++);
        }
    }

    /// Trims the equal lines at the end.
    void trimBack(Range& range)
    {
        while (range.beginBefore < range.endBefore && range.beginAfter < range.endAfter &&
               isSame(range.endBefore - 1, range.endAfter - 1))
        {
            match(--range.endBefore, --range.endAfter);
        }
    }

    /// The shortest difference by Myers' greedy search, if it has few enough lines.
    bool compareShortest(const Range& range)
    {
        const int MAX_CHANGES = 400;

        const int lengthBefore = range.endBefore - range.beginBefore;
        const int lengthAfter = range.endAfter - range.beginAfter;
        const int limit = std::min(MAX_CHANGES, lengthBefore + lengthAfter);
        // How far each diagonal has been followed, after each number of changes.
        std::vector<std::vector<int>> trace;
        std::vector<int> reached(2 * static_cast<std::size_t>(limit) + 3, 0);
        const auto at = [limit](int diagonal)
        { return static_cast<std::size_t>(diagonal) + static_cast<std::size_t>(limit + 1); };
        for (int changes = 0; changes <= limit; ++changes)
        {
            for (int diagonal = -changes; diagonal <= changes; diagonal += 2)
            {
                const bool isInsertion = diagonal == -changes ||
                                         (diagonal != changes && reached[at(diagonal - 1)] < reached[at(diagonal + 1)]);
                int before = isInsertion ? reached[at(diagonal + 1)] : reached[at(diagonal - 1)] + 1;
                while (before < lengthBefore && before - diagonal < lengthAfter && before - diagonal >= 0 &&
                       isSame(range.beginBefore + before, range.beginAfter + before - diagonal))
                {
                    ++before;
                }
                reached[at(diagonal)] = before;
                if (diagonal == lengthBefore - lengthAfter && before >= lengthBefore)
                {
                    backtrack(range, trace, changes);
                    return true;
                }
            }
            trace.emplace_back(reached.begin() + static_cast<std::ptrdiff_t>(at(-changes)),
                               reached.begin() + static_cast<std::ptrdiff_t>(at(changes)) + 1);
        }
        return false;
    }

    /// Walks back from the end. The trace of `n` changes holds the diagonals from -n to n.
    void backtrack(const Range& range, const std::vector<std::vector<int>>& trace, int changes)
    {
        int before = range.endBefore - range.beginBefore;
        int after = range.endAfter - range.beginAfter;
        for (; changes >= 0; --changes)
        {
            int previousBefore = 0;
            int previousAfter = 0;
            if (changes > 0)
            {
                const std::vector<int>& reached = trace[static_cast<std::size_t>(changes) - 1];
                const auto far = [&reached, changes](int diagonal)
                {
                    const int index = diagonal + changes - 1;
                    const bool isReached = index >= 0 && index < static_cast<int>(reached.size());
                    return isReached ? reached[static_cast<std::size_t>(index)] : NONE;
                };
                const int diagonal = before - after;
                const bool isInsertion =
                    diagonal == -changes || (diagonal != changes && far(diagonal - 1) < far(diagonal + 1));
                const int previous = isInsertion ? diagonal + 1 : diagonal - 1;
                previousBefore = far(previous);
                previousAfter = previousBefore - previous;
            }
            while (before > previousBefore && after > previousAfter &&
                   isSame(range.beginBefore + before - 1, range.beginAfter + after - 1))
            {
                match(range.beginBefore + --before, range.beginAfter + --after);
            }
            before = previousBefore;
            after = previousAfter;
        }
    }

    /// Lines that occur once in both parts, in an order that both have.
    Pairs anchors(const Range& range) const
    {
        struct Occurrence
        {
            int before = NONE;
            int after = NONE;
            int count = 0;
        };
        std::unordered_map<int, Occurrence> occurrences;
        for (int line = range.beginBefore; line < range.endBefore; ++line)
        {
            Occurrence& occurrence = occurrences[_before[static_cast<std::size_t>(line)]];
            occurrence.before = line;
            ++occurrence.count;
        }
        for (int line = range.beginAfter; line < range.endAfter; ++line)
        {
            Occurrence& occurrence = occurrences[_after[static_cast<std::size_t>(line)]];
            occurrence.after = line;
            ++occurrence.count;
        }
        Pairs unique;
        for (const auto& [number, occurrence] : occurrences)
        {
            if (occurrence.count == 2 && occurrence.before != NONE && occurrence.after != NONE)
            {
                unique.emplace_back(occurrence.before, occurrence.after);
            }
        }
        std::sort(unique.begin(), unique.end());
        return longestIncreasing(unique);
    }

    static Pairs longestIncreasing(const Pairs& pairs)
    {
        std::vector<std::size_t> piles; // the pair on the top of each pile
        std::vector<std::size_t> below(pairs.size(), pairs.size());
        const auto endsBefore = [&pairs](std::size_t one, std::size_t other)
        { return pairs[one].second < pairs[other].second; };
        for (std::size_t index = 0; index < pairs.size(); ++index)
        {
            const auto pile = std::lower_bound(piles.begin(), piles.end(), index, endsBefore);
            below[index] = pile == piles.begin() ? pairs.size() : *(pile - 1);
            if (pile == piles.end())
            {
                piles.push_back(index);
            }
            else
            {
                *pile = index;
            }
        }
        Pairs chosen;
        for (std::size_t index = piles.empty() ? pairs.size() : piles.back(); index < pairs.size();
             index = below[index])
        {
            chosen.push_back(pairs[index]);
        }
        std::reverse(chosen.begin(), chosen.end());
        return chosen;
    }

    std::unordered_map<std::string_view, int> _known;
    const std::vector<int> _before;
    const std::vector<int> _after;
    std::vector<int> _partner;
};

/// One line of the difference: a line of the text before, of the text after, or of both.
struct Edit
{
    int before;
    int after;

    bool isKept() const
    {
        return before != CComparison::NONE && after != CComparison::NONE;
    }
};

std::vector<Edit> editsOf(const std::vector<int>& partners, int lengthAfter)
{
    std::vector<Edit> edits;
    int after = 0;
    for (int before = 0; before < static_cast<int>(partners.size()); ++before)
    {
        const int partner = partners[static_cast<std::size_t>(before)];
        if (partner == CComparison::NONE)
        {
            edits.push_back({before, CComparison::NONE});
            continue;
        }
        while (after < partner)
        {
            edits.push_back({CComparison::NONE, after++});
        }
        edits.push_back({before, after++});
    }
    while (after < lengthAfter)
    {
        edits.push_back({CComparison::NONE, after++});
    }
    return edits;
}

/// The part of a hunk's header on one text: `first` is the number of lines before the hunk.
std::string rangeText(int first, int count)
{
    std::string text = std::to_string(count == 0 ? first : first + 1);
    if (count != 1)
    {
        text += "," + std::to_string(count);
    }
    return text;
}

void appendLine(std::string& text, char mark, std::string_view line)
{
    text += mark;
    text += line;
    if (line.empty() || line.back() != '\n')
    {
        text += "\n\\ No newline at end of file\n";
    }
}

/// A part of the difference, by the numbers of its edits; the end is excluded.
struct Hunk
{
    std::size_t begin;
    std::size_t end;
};

/// The first change from the edit `next` on, with its context and with the changes whose contexts meet its own.
std::optional<Hunk> findHunk(const std::vector<Edit>& edits, std::size_t next)
{
    const std::size_t CONTEXT = 3;

    std::size_t first = next;
    while (first < edits.size() && edits[first].isKept())
    {
        ++first;
    }
    if (first == edits.size())
    {
        return std::nullopt;
    }
    std::size_t last = first;
    for (std::size_t index = first; index < edits.size() && index <= last + 2 * CONTEXT + 1; ++index)
    {
        last = edits[index].isKept() ? last : index;
    }
    return Hunk{first - std::min(CONTEXT, first - next), std::min(edits.size(), last + 1 + CONTEXT)};
}

/// How many lines of either text lie before an edit.
struct Place
{
    int before = 0;
    int after = 0;
};

Place moved(Place place, const std::vector<Edit>& edits, std::size_t begin, std::size_t end)
{
    for (std::size_t index = begin; index < end; ++index)
    {
        place.before += edits[index].before == CComparison::NONE ? 0 : 1;
        place.after += edits[index].after == CComparison::NONE ? 0 : 1;
    }
    return place;
}

void appendEdit(std::string& text, const Edit& edit, const Lines& before, const Lines& after)
{
    if (edit.before == CComparison::NONE)
    {
        appendLine(text, '+', after[static_cast<std::size_t>(edit.after)]);
    }
    else
    {
        appendLine(text, edit.isKept() ? ' ' : '-', before[static_cast<std::size_t>(edit.before)]);
    }
}

} // namespace

std::string unifiedDiff(const std::string& name, const std::string& before, const std::string& after)
{
    if (before == after)
    {
        return std::string();
    }
    const Lines linesBefore = viewedLines(before);
    const Lines linesAfter = viewedLines(after);
    const std::vector<Edit> edits =
        editsOf(CComparison(linesBefore, linesAfter).partners(), static_cast<int>(linesAfter.size()));

    std::string text = "--- " + name + "\n+++ " + name + "\n";
    Place place;
    std::size_t next = 0;
    while (const std::optional<Hunk> hunk = findHunk(edits, next))
    {
        const Place begin = moved(place, edits, next, hunk->begin);
        const Place end = moved(begin, edits, hunk->begin, hunk->end);
        text += "@@ -" + rangeText(begin.before, end.before - begin.before) + " +" +
                rangeText(begin.after, end.after - begin.after) + " @@\n";
        for (std::size_t index = hunk->begin; index < hunk->end; ++index)
        {
            appendEdit(text, edits[index], linesBefore, linesAfter);
        }
        place = end;
        next = hunk->end;
    }
    return text;
}

} // namespace QMT
