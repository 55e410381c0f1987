#include "temporary.h"

#include <cstdlib>
#include <fstream>
#include <iterator>

temporary_folder::temporary_folder()
{
    std::string name = (std::filesystem::temp_directory_path() / "tsinsertd-XXXXXX").string();
    path = mkdtemp(name.data());
}

temporary_folder::~temporary_folder()
{
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
}

std::string write_file(const temporary_folder& folder, const std::string& name, std::string_view content)
{
    const auto path = folder.path / name;
    std::ofstream(path, std::ios::binary) << content;
    return path.string();
}

std::string read_file(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

environment::environment(std::initializer_list<std::pair<std::string, std::string>> wanted)
    : settings(wanted)
{
    for (const auto& [name, value] : settings)
        setenv(name.c_str(), value.c_str(), 1);
}

environment::~environment()
{
    for (const auto& [name, value] : settings)
        unsetenv(name.c_str());
}
