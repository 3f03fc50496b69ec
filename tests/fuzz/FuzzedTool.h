#ifndef QMT_FUZZ_FuzzedTool_INCLUDED
#define QMT_FUZZ_FuzzedTool_INCLUDED

#include "app/CQorModelTool.h"
#include "impl/CFrameworkPaths.h"
#include "impl/CQorModelToolImpl.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace QMT::Fuzz
{

/// The tool's objects on a framework directory in memory, without console output. The process removes the directory.
class FuzzedTool
{
public:
    /// The instance of this process.
    static FuzzedTool& instance();

    /// Writes `content` to the file at `path`.
    static void write(const std::string& path, const std::string& content);

    /// The content of the file at `path`.
    static std::string read(const std::string& path);

    /// The same, or an empty string for a missing file.
    static std::string readIfThere(const std::string& path);

    /// Aborts the process, which libFuzzer reports as a fault, after printing `reason`.
    [[noreturn]] static void fail(const std::string& reason);

    CFrameworkPaths paths;
    CQorModelToolImpl impl;
    CQorModelTool tool;

private:
    explicit FuzzedTool(const std::string& directory);
};

/// The bytes of an input as text.
inline std::string textOf(const std::uint8_t* data, std::size_t size)
{
    return std::string(data, data + size);
}

/// Splits an input into the contents of `count` files. Before each content is a byte 1; a byte 2 stands for a missing
/// file. Files after the end of the input are missing too.
std::vector<std::optional<std::string>> partsOf(const std::string& input, std::size_t count);

} // namespace QMT::Fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

#endif // QMT_FUZZ_FuzzedTool_INCLUDED
