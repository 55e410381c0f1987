#include "watch.h"

#include "formatted.h"
#include "picture_check.h"

#include <cstdint>
#include <filesystem>
#include <set>
#include <sys/stat.h>

namespace {

/// What else lies in the folder may change while nobody works on the shop, such as a log.
bool is_watched(const std::string& name)
{
    return name == "infostv.xml" || name == "referencieltv.xml" || name == "layout.xml"
        || is_picture_name(name);
}

} // namespace

std::string state_of_files(const std::string& folder, const std::string& file)
{
    std::set<std::string> paths{file};
    std::error_code error;
    for (std::filesystem::directory_iterator each(folder, error), end; each != end; each.increment(error))
        if (is_watched(each->path().filename().string()))
            paths.insert(each->path().string());
    std::string state;
    for (const std::string& path : paths) {
        struct stat status { };
        if (stat(path.c_str(), &status) == 0)
            state += formatted("%s %ju %jd %jd %ld\n", path.c_str(),
                static_cast<std::uintmax_t>(status.st_ino), static_cast<std::intmax_t>(status.st_size),
                static_cast<std::intmax_t>(status.st_ctim.tv_sec), status.st_ctim.tv_nsec);
    }
    return state;
}
