#include "encoder.h"
#include "palette.h"
#include "pictures.h"
#include "plain_encoder.h"
#include "plain_palette.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

// One piece of work for callgrind: counted OPERATION PICTURE FORM. Only what happens in `counted_work`
// is meant to be counted.

namespace {

struct operation {
    const char* name = "";
    bool on_palettised = false;
    void (*plain)(subpicture& page) = nullptr;
    void (*fast)(subpicture& page) = nullptr;
};

void require(bool done)
{
    if (!done)
        std::abort();
}

void convert(subpicture& page)
{
    require(YuvaYuvp(&page) != nullptr);
}

void convert_plainly(subpicture& page)
{
    require(plain::YuvaYuvp(&page) != nullptr);
}

template <auto encode> void encode_once(subpicture& page)
{
    encoder* const state = OpenEncoder();
    require(state != nullptr);
    block* const data = encode(state, &page);
    require(data != nullptr);
    std::free(data);
    CloseEncoder(state);
}

constexpr operation operations[] = {
    {.name = "convert", .on_palettised = false, .plain = convert_plainly, .fast = convert},
    {.name = "encode",
        .on_palettised = true,
        .plain = encode_once<plain::Encode>,
        .fast = encode_once<Encode>},
};

int usage()
{
    std::fputs("usage: counted convert|encode PICTURE plain|fast, where PICTURE is one of", stderr);
    for (const bench_picture& picture : bench_pictures())
        std::fprintf(stderr, " %s", picture.name);
    std::fputs("\n", stderr);
    return 2;
}

const operation* find_operation(const char* name)
{
    for (const operation& candidate : operations) {
        if (std::strcmp(candidate.name, name) == 0)
            return &candidate;
    }
    return nullptr;
}

} // namespace

extern "C" [[gnu::noinline]] void counted_work(void (*work)(subpicture&), subpicture& page)
{
    work(page);
}

int main(int count, char** arguments)
{
    const operation* const chosen = count == 4 ? find_operation(arguments[1]) : nullptr;
    const bench_picture* const picture = count == 4 ? find_picture(arguments[2]) : nullptr;
    if (chosen == nullptr || picture == nullptr)
        return usage();
    const bool plainly = std::strcmp(arguments[3], "plain") == 0;
    if (!plainly && std::strcmp(arguments[3], "fast") != 0)
        return usage();
    const drawn_page page = picture->draw();
    if (chosen->on_palettised)
        convert(*page);
    counted_work(plainly ? chosen->plain : chosen->fast, *page);
    return 0;
}
