#include "resources.h"

#include "handles.h"
#include "temporary.h"

#include <gtest/gtest.h>

namespace {

TEST(Resources, ArePicturesWhoseWholePathFits)
{
    EXPECT_STREQ(picture_path("/icons/", "Led").value().data(), "/icons/Led.png");
    EXPECT_EQ(
        std::string_view(picture_path(resources_directory, std::string(220, 'b')).value().data()).size(),
        255);
    EXPECT_FALSE(picture_path(resources_directory, std::string(221, 'b')));
}

TEST(Resources, HaveALogoWhenAFileNamedAsTheBrandInLowerCaseMayBeRead)
{
    const temporary_folder folder;
    const auto directory = folder.path.string() + "/";
    const auto path = write_file(folder, "az [@`{] \xC3\x89toile.png", "");
    EXPECT_EQ(owned_bytes(brandToLogo("AZ [@`{] \xC3\x89toile", directory)).get(), path);
    EXPECT_EQ(brandToLogo("Sampla", directory), nullptr);
    EXPECT_EQ(brandToLogo(std::string(5000, 'B').c_str(), directory), nullptr);
    EXPECT_EQ(brandToLogo(nullptr, directory), nullptr);
}

} // namespace
