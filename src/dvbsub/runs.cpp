#include "runs.h"

std::ptrdiff_t colour_run(const picture& source, std::ptrdiff_t begin, std::ptrdiff_t end)
{
    std::ptrdiff_t run = end - begin;
    for (const plane& component : source.planes)
        run = equal_run(component.pixels + begin, run);
    return run;
}
