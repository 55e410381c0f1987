// tsinsert-preview: shows what viewers of the articles will see.

#include "preview.h"

#include <cstdlib>
#include <filesystem>

namespace {

/// The fonts that the unit gives to the daemon, where they are installed and the environment names no others.
void use_installed_fonts()
{
    std::error_code ignored;
    const auto folder = std::filesystem::read_symlink("/proc/self/exe", ignored).parent_path();
    const auto fonts = (folder / FONTS_FILE).lexically_normal();
    if (std::filesystem::exists(fonts, ignored))
        setenv("FONTCONFIG_FILE", fonts.c_str(), 0);
}

} // namespace

int main(int argc, char** argv)
{
    use_installed_fonts();
    return run_preview(argc, argv);
}
