#include "ctl/AlignedRows.h"

#include <algorithm>

namespace QMT
{

namespace
{

/// How many characters `text` has.
std::size_t widthOf(const std::string& text)
{
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](unsigned char byte) { return (byte & 0xC0) != 0x80; }));
}

} // namespace

std::string alignedRows(const std::vector<std::vector<std::string>>& rows)
{
    const std::size_t MAX_WIDTH = 60;
    const std::string GAP = "  ";

    std::vector<std::size_t> widths;
    for (const std::vector<std::string>& row : rows)
    {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t column = 0; column < row.size(); ++column)
        {
            const std::size_t width = widthOf(row[column]);
            widths[column] = width > MAX_WIDTH ? widths[column] : std::max(widths[column], width);
        }
    }
    std::string text;
    for (const std::vector<std::string>& row : rows)
    {
        std::string line;
        for (std::size_t column = 0; column < row.size(); ++column)
        {
            const std::size_t width = widthOf(row[column]);
            line += GAP + row[column] + std::string(widths[column] - std::min(widths[column], width), ' ');
        }
        line.erase(line.find_last_not_of(' ') + 1);
        text += line + "\n";
    }
    return text;
}

} // namespace QMT
