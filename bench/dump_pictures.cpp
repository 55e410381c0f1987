#include "pictures.h"

#include <array>
#include <cstdio>
#include <string>

// Writes every picture into a file of its name, for machines without cairo: dump_pictures FOLDER. A file
// holds the width and the height, 32 bits each in this machine's order, and the four planes.

int main(int count, char** arguments)
{
    if (count != 2) {
        std::fputs("usage: dump_pictures FOLDER\n", stderr);
        return 2;
    }
    for (const bench_picture& picture : bench_pictures()) {
        const drawn_page page = picture.draw();
        const subpicture_region& region = *page->regions;
        const std::array size{region.width, region.height};
        const std::size_t plane_bytes = std::size_t{region.width} * region.height;
        std::FILE* const file = std::fopen((std::string(arguments[1]) + "/" + picture.name).c_str(), "wb");
        if (file == nullptr || std::fwrite(size.data(), sizeof size, 1, file) != 1
            || std::fwrite(region.picture->buffer, plane_bytes, plane_total, file) != plane_total
            || std::fclose(file) != 0) {
            std::perror(picture.name);
            return 1;
        }
    }
    return 0;
}
