#include "simulator/statusfile.h"

#include <fstream>
#include <string_view>

namespace px40::sim {

std::optional<std::string> ReadStatusFile(const std::string &path, std::string *error)
{
    constexpr std::string_view key = "reply:";
    std::ifstream file(path, std::ios::binary);
    std::string line;
    while (std::getline(file, line)) {
        if (!line.starts_with(key))
            continue;
        if (line.ends_with('\r'))
            line.pop_back();
        line.erase(0, key.size());
        if (line.starts_with(' '))
            line.erase(0, 1);
        return line;
    }
    const bool readable = file.is_open() && !file.bad();
    *error =
        "The file " + path + (readable ? " has no line that begins with \"reply:\"." : " cannot be read.");
    return std::nullopt;
}

} // namespace px40::sim
