#include "logo.h"

#include "file_handles.h"
#include "library_fakes.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>

namespace {

TEST(Logo, IsNamedWithTheBrandInLowerCase)
{
    EXPECT_STREQ(logo_path("AZ [@`{] \xC3\x89toile").value().data(),
        "/usr/playout/.medias/resources/az [@`{] \xC3\x89toile.png");
}

TEST(Logo, HasAPathOfAtMost255Characters)
{
    const auto longest = logo_path(std::string(220, 'B')).value();
    EXPECT_EQ(std::strlen(longest.data()), 255);
    EXPECT_TRUE(std::string_view(longest.data()).ends_with("bbbb.png"));
    EXPECT_FALSE(logo_path(std::string(221, 'B')));
    EXPECT_EQ(brandToLogo(std::string(5000, 'B').c_str()), nullptr);
}

TEST(Logo, IsThereWhenItMayBeRead)
{
    readable_path = "/usr/playout/.medias/resources/fictiva.png";
    EXPECT_STREQ(owned_bytes(brandToLogo("FICTIVA")).get(), readable_path);
    EXPECT_EQ(brandToLogo("Sampla"), nullptr);
    EXPECT_EQ(brandToLogo(nullptr), nullptr);
    readable_path = nullptr;
}

} // namespace
