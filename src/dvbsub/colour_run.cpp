#include "colour_run.h"

#include "equal_run.h"

std::ptrdiff_t colour_run(const picture& source, std::ptrdiff_t begin, std::ptrdiff_t end)
{
    const auto& p = source.planes;
    return equal_run<4>(
        {p[0].pixels + begin, p[1].pixels + begin, p[2].pixels + begin, p[3].pixels + begin}, end - begin);
}
