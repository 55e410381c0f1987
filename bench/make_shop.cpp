#include "shops.h"

#include <cstdio>
#include <cstdlib>
#include <string_view>

// Writes the shop of the benchmarks for a run of the daemon: make_shop FOLDER different|shared [ARTICLES]

int main(int count, char** arguments)
{
    const std::string_view kind = count >= 3 ? arguments[2] : "";
    if (count > 4 || (kind != "different" && kind != "shared")) {
        std::fputs("usage: make_shop FOLDER different|shared [ARTICLES]\n", stderr);
        return 2;
    }
    write_shop(std::string(arguments[1]) + "/", kind == "shared" ? shop_kind::shared : shop_kind::different,
        count == 4 ? std::atoi(arguments[3]) : 40);
    return 0;
}
