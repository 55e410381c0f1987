#include "resources.h"

#include "handles.h"
#include "temporary.h"

#include <gtest/gtest.h>

namespace {

TEST(Logo, IsNamedWithTheBrandInLowerCase)
{
    EXPECT_STREQ(logo_path("AZ [@`{] \xC3\x89toile").value().data(),
        "/usr/playout/.medias/resources/az [@`{] \xC3\x89toile.png");
    EXPECT_EQ(std::string_view(logo_path(std::string(220, 'B')).value().data()).size(), 255);
    EXPECT_FALSE(logo_path(std::string(221, 'B')));
    EXPECT_EQ(brandToLogo(std::string(5000, 'B').c_str()), nullptr);
}

TEST(Logo, IsThereWhenItMayBeRead)
{
    const temporary_folder folder;
    const auto path = write_file(folder, "fictiva.png", "");
    EXPECT_EQ(owned_bytes(find_logo("FICTIVA", folder.path.string() + "/")).get(), path);
    EXPECT_EQ(find_logo("Sampla", "/"), nullptr);
    EXPECT_EQ(find_logo(nullptr, "/"), nullptr);
}

} // namespace
