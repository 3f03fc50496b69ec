#include "ctl/ContainedLines.h"

#include <algorithm>
#include <array>
#include <climits>
#include <string_view>
#include <unordered_set>

namespace QMT
{

namespace
{

bool startsWith(std::string_view text, std::string_view start)
{
    return text.substr(0, start.size()) == start;
}

/// Finds containers by a binary search for each position at which one line may begin within another. In byte order, the
/// longest line that is a prefix of the rest is the last line that is not greater than the rest, or a prefix of that
/// one.
class ContainerSearch
{
public:
    explicit ContainerSearch(std::vector<std::string_view> lines) : _lines(std::move(lines))
    {
        std::sort(_lines.begin(), _lines.end());
        _lines.erase(std::unique(_lines.begin(), _lines.end()), _lines.end());
        linkPrefixes();
        _containers.resize(_lines.size(), NONE);
        for (std::size_t line = 0; line < _lines.size(); ++line)
        {
            search(line);
        }
    }

    /// A line that contains `line`, which is one of them; empty when none does.
    std::string_view containerOf(std::string_view line) const
    {
        const auto found = std::lower_bound(_lines.begin(), _lines.end(), line);
        const std::size_t container = _containers[static_cast<std::size_t>(found - _lines.begin())];
        return container == NONE ? std::string_view() : _lines[container];
    }

private:
    static constexpr std::size_t NONE = static_cast<std::size_t>(-1);

    /// Links each line to the longest other one that is a prefix of it. In byte order, the prefixes of a line precede
    /// it.
    void linkPrefixes()
    {
        std::vector<std::size_t> prefixes;
        for (std::size_t line = 0; line < _lines.size(); ++line)
        {
            while (!prefixes.empty() && !startsWith(_lines[line], _lines[prefixes.back()]))
            {
                prefixes.pop_back();
            }
            _longestPrefixes.push_back(prefixes.empty() ? NONE : prefixes.back());
            prefixes.push_back(line);
            _mayBegin[static_cast<unsigned char>(_lines[line].front())] = true;
        }
    }

    void search(std::size_t container)
    {
        const std::string_view text = _lines[container];
        mark(_longestPrefixes[container], container);
        for (std::size_t position = 1; position < text.size(); ++position)
        {
            if (_mayBegin[static_cast<unsigned char>(text[position])])
            {
                mark(longestPrefixOf(text.substr(position)), container);
            }
        }
    }

    std::size_t longestPrefixOf(std::string_view rest) const
    {
        const auto behind = std::upper_bound(_lines.begin(), _lines.end(), rest);
        std::size_t line = behind == _lines.begin() ? NONE : static_cast<std::size_t>(behind - _lines.begin()) - 1;
        while (line != NONE && !startsWith(rest, _lines[line]))
        {
            line = _longestPrefixes[line];
        }
        return line;
    }

    /// The prefixes of a line that is marked are marked already.
    void mark(std::size_t line, std::size_t container)
    {
        for (; line != NONE && _containers[line] == NONE; line = _longestPrefixes[line])
        {
            _containers[line] = container;
        }
    }

    std::vector<std::string_view> _lines;
    std::vector<std::size_t> _longestPrefixes;
    std::vector<std::size_t> _containers;
    std::array<bool, UCHAR_MAX + 1> _mayBegin = {};
};

} // namespace

std::vector<std::pair<std::string, std::string>> findContainedLines(const std::vector<std::string>& lines)
{
    std::vector<std::string_view> paths;
    std::copy_if(lines.begin(), lines.end(), std::back_inserter(paths),
                 [](const std::string& line) { return !line.empty() && line.size() < PATH_MAX; });
    const ContainerSearch search(paths);
    std::vector<std::pair<std::string, std::string>> contained;
    std::unordered_set<std::string_view> known;
    for (const std::string_view path : paths)
    {
        const std::string_view container = search.containerOf(path);
        if (!container.empty() && known.insert(path).second)
        {
            contained.emplace_back(path, container);
        }
    }
    return contained;
}

} // namespace QMT
