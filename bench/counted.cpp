#include "encoder.h"
#include "palette.h"
#include "pictures.h"
#include "plain_encoder.h"
#include "plain_palette.h"
#include "shop_services.h"
#include "shops.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string_view>
#include <sys/resource.h>

// One piece of work for callgrind. Only what happens in `counted_work` is meant to be counted.

extern "C" [[gnu::noinline]] void counted_work(const std::function<void()>& work)
{
    work();
}

namespace {

void require(bool done)
{
    if (!done)
        std::abort();
}

template <auto plain_form, auto fast_form, typename... Arguments>
void count_form(bool plainly, Arguments... arguments)
{
    counted_work([&] { require((plainly ? plain_form(arguments...) : fast_form(arguments...)) != nullptr); });
}

void count_conversion(const drawn_page& page, bool plainly)
{
    count_form<plain::YuvaYuvp, YuvaYuvp>(plainly, page.get());
}

void count_encoding(const drawn_page& page, bool plainly)
{
    require(YuvaYuvp(page.get()) != nullptr);
    encoder* const state = OpenEncoder();
    require(state != nullptr);
    count_form<plain::Encode, Encode>(plainly, state, page.get());
}

void count_shop(shop_kind kind, bool plainly)
{
    std::array<char, 64> folder{"/tmp/tsinsertd-counted-XXXXXX"};
    require(mkdtemp(folder.data()) != nullptr);
    const std::string path = std::string(folder.data()) + "/";
    write_shop(path, kind);
    count_form<prepare_shop_plainly, prepare_shop>(plainly, path);
    std::filesystem::remove_all(path);
}

int usage()
{
    std::fputs("usage: counted convert|encode PICTURE plain|fast\n"
               "       counted prepare different|shared plain|fast\nPICTURE is one of",
        stderr);
    for (const bench_picture& picture : bench_pictures())
        std::fprintf(stderr, " %s", picture.name);
    std::fputs("\n", stderr);
    return 2;
}

/// Whether the operation and its object are known.
bool count(std::string_view operation, std::string_view object, bool plainly)
{
    const bench_picture* const picture = find_picture(object);
    if (operation == "convert" && picture != nullptr)
        count_conversion(picture->draw(), plainly);
    else if (operation == "encode" && picture != nullptr)
        count_encoding(picture->draw(), plainly);
    else if (operation == "prepare" && (object == "shared" || object == "different"))
        count_shop(object == "shared" ? shop_kind::shared : shop_kind::different, plainly);
    else
        return false;
    return true;
}

} // namespace

int main(int argument_count, char** arguments)
{
    const std::string_view form = argument_count == 4 ? arguments[3] : "";
    if (form != "plain" && form != "fast")
        return usage();
    if (!count(arguments[1], arguments[2], form == "plain"))
        return usage();
    rusage use{};
    getrusage(RUSAGE_SELF, &use);
    std::printf("peak resident size: %ld kB\n", use.ru_maxrss);
    return 0;
}
