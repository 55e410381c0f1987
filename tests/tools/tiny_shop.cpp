#include "tiny_shop.h"

#include "capture.h"
#include "handles.h"
#include "png_image.h"
#include "preview.h"

#include <cstring>

void write_png(const std::string& path, int width, int height, std::uint32_t (*argb)(int column, int line))
{
    const owned_surface surface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height));
    unsigned char* row = cairo_image_surface_get_data(surface.get());
    for (int line = 0; line < height; ++line, row += cairo_image_surface_get_stride(surface.get()))
        for (int column = 0; column < width; ++column) {
            const std::uint32_t word = argb(column, line);
            std::memcpy(row + sizeof word * static_cast<unsigned>(column), &word, sizeof word);
        }
    cairo_surface_mark_dirty(surface.get());
    cairo_surface_write_to_png(surface.get(), path.c_str());
}

std::uint32_t pixel_of_png(const std::string& path, int column, int line)
{
    const png_image image = load_png(path.c_str());
    if (image.status != CAIRO_STATUS_SUCCESS || column >= static_cast<int>(image.width)
        || line >= static_cast<int>(image.height))
        return 0;
    const auto stride = static_cast<std::size_t>(cairo_image_surface_get_stride(image.surface.get()));
    const std::size_t offset =
        static_cast<std::size_t>(line) * stride + static_cast<std::size_t>(column) * sizeof(std::uint32_t);
    std::uint32_t word = 0;
    std::memcpy(&word, cairo_image_surface_get_data(image.surface.get()) + offset, sizeof word);
    return word | 0xFF000000;
}

tiny_shop::tiny_shop()
{
    write_articles(article("A1", "<price>9</price><type>LED</type>"));
    write_layout(region("price", R"(x_pos="100" y_pos="200" width="80" height="40")"));
    write_file(folder, "referencieltv.xml", "<r/>");
    write_png((folder.path / "led.png").string(), 176, 137, [](int, int) { return 0xFFFFFFFFU; });
}

void tiny_shop::write_articles(const std::string& articles) const
{
    write_file(folder, "infostv.xml", "<a>\n" + articles + "</a>\n");
}

void tiny_shop::write_layout(const std::string& regions) const
{
    write_file(folder, "layout.xml", "<l>\n" + regions + "</l>\n");
}

preview_run tiny_shop::run(std::vector<std::string> options) const
{
    options.insert(
        options.begin(), {"tsinsert-preview", "--resources", folder.path.string(), "--output", output("")});
    std::vector<char*> argv;
    argv.reserve(options.size() + 1);
    for (std::string& word : options)
        argv.push_back(word.data());
    const int argc = static_cast<int>(argv.size());
    argv.push_back(nullptr);
    preview_run result;
    result.messages = stderr_of(
        [&] { result.report = stdout_of([&] { result.status = run_preview(argc, argv.data()); }); });
    return result;
}

std::string tiny_shop::output(const std::string& name) const
{
    return (folder.path / "out" / name).string();
}

std::string article(const std::string& code, const std::string& elements, const std::string& host)
{
    return "<article code=\"" + code + "\"><ovu>" + host + "</ovu>" + elements + "</article>\n";
}

std::string region(const std::string& name, const std::string& place, const std::string& text_attributes)
{
    return "<region name=\"" + name + "\" " + place
        + R"(><text font="Sans" size="20" backgroundColor="FFFFFFFF" foregroundColor="FF000000" )"
        + text_attributes + "/></region>\n";
}
