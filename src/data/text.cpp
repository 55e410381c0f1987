#include "text.h"

#include <cstdio>
#include <cstdlib>

char* copy_text(std::string_view text)
{
    auto* copy = static_cast<char*>(std::malloc(text.size() + 1));
    if (copy == nullptr) {
        std::fputs("Cannot allocate memory\n", stderr);
        return nullptr;
    }
    *std::ranges::copy(text, copy).out = '\0';
    return copy;
}
