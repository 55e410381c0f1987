#include "shop_files.h"

namespace {

constexpr const char* host = "shop-tv-1";

std::string element(const std::string& name, const std::string& content)
{
    return "<" + name + ">" + content + "</" + name + ">";
}

std::string article(int i)
{
    const std::string number = std::to_string(i);
    std::string fields = element("ovu", host) + element("channel", std::to_string(101 + i))
        + element("model", std::string(1 + i % 5, 'M') + number);
    if (i % 2 == 0)
        fields += element("price", number + "99 €");
    if (i % 3 == 1)
        fields += element("brand", "Norvane") + element("type", "LED");
    return "<article code=\"A" + number + "\">" + fields + "</article>\n";
}

} // namespace

void copy_sample_shop(const temporary_folder& folder)
{
    std::filesystem::copy(SAMPLE_SHOP, folder.path);
}

void write_shop(const temporary_folder& folder, int articles)
{
    copy_sample_shop(folder);
    std::string text;
    for (int i = 0; i < articles; ++i)
        text += article(i);
    write_file(folder, "infostv.xml", element("infostv", text));
    write_file(folder, "referencieltv.xml", element("referencieltv", ""));
}

run_request shop_run(const temporary_folder& folder, const std::vector<std::string>& options)
{
    run_request request{.options = {"--generation", "3", "--resources", folder.path.string()},
        .settings = {{"HOME", folder.path.string()}, // where fontconfig may keep what it finds
            {"PREF_SYSTEM_NETWORK_HOSTNAME", host}, {"PREF_SYSTEM_ENCODER_1_DVB_MULTI_SERVICES", "true"},
            {"PREF_SYSTEM_ENCODER_1_SERVICE_ID", "100"},
            {"PREF_SYSTEM_ENCODER_1_SERVICE_NAME", "Shop Window"}}};
    request.options.insert(request.options.end(), options.begin(), options.end());
    return request;
}
