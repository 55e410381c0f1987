#include "emulated_run.h"

#include <cstdlib>
#include <sys/wait.h>

namespace {

std::string quoted(const std::string& text)
{
    std::string result = "'";
    for (const char character : text)
        result += character == '\'' ? std::string("'\\''") : std::string(1, character);
    return result + "'";
}

/// Runs a command in the shell. Returns its exit status; what it prints goes to two files in the folder.
int run_command(const std::string& command, const temporary_folder& folder)
{
    const std::string path = folder.path.string();
    const std::string line = command + " >" + path + "/output 2>" + path + "/errors </dev/null";
    return WEXITSTATUS(std::system(line.c_str())); // NOLINT(cert-env33-c): the shell keeps the output apart
}

std::string article(int i)
{
    const std::string number = std::to_string(i);
    return "<article code=\"A" + number + "\"><ovu>shop-tv-1</ovu><channel>" + std::to_string(101 + i)
        + "</channel><model>" + std::string(static_cast<std::size_t>(1 + i % 5), 'M') + number + "</model>"
        + (i % 2 == 0 ? "<price>" + number + "99 €</price>" : "")
        + (i % 3 == 1 ? "<brand>Norvane</brand><type>LED</type>" : "") + "</article>\n";
}

} // namespace

run_result run_daemon_emulated(run_request request)
{
    const temporary_folder folder;
    const std::string path = folder.path.string();
    request.options.insert(
        request.options.end(), {"--summary", path + "/summary", "--record", path + "/record"});
    run_result result{.emulator_status = run_command(command_line(request), folder),
        .output = read_file(folder.path / "output"),
        .errors = read_file(folder.path / "errors"),
        .summary = read_file(folder.path / "summary")};
    // "daemon: ended with status 234 after 0.2 s", or "…, after 0.2 s"
    const std::string end = result.summary.substr(0, result.summary.find(" after"));
    result.daemon_end = end.substr(0, end.find(','));
    result.record = read_file(folder.path / "record");
    return result;
}

void write_shop(const temporary_folder& folder, int articles)
{
    std::filesystem::copy(SAMPLE_SHOP, folder.path);
    std::string text;
    for (int i = 0; i < articles; ++i)
        text += article(i);
    write_file(folder, "infostv.xml", "<infostv>" + text + "</infostv>");
    write_file(folder, "referencieltv.xml", "<referencieltv/>");
}

run_request shop_run(const temporary_folder& folder, const std::vector<std::string>& options)
{
    run_request request{.options = {"--generation", "3", "--resources", folder.path.string()},
        .settings = {{"HOME", folder.path.string()}, // where fontconfig may keep what it finds
            {"PREF_SYSTEM_NETWORK_HOSTNAME", "shop-tv-1"},
            {"PREF_SYSTEM_ENCODER_1_DVB_MULTI_SERVICES", "true"}, {"PREF_SYSTEM_ENCODER_1_SERVICE_ID", "100"},
            {"PREF_SYSTEM_ENCODER_1_SERVICE_NAME", "Shop Window"}}};
    request.options.insert(request.options.end(), options.begin(), options.end());
    return request;
}

std::string output_of_command(const std::string& command)
{
    const temporary_folder folder;
    if (run_command(command, folder) != 0)
        return "failed: " + command + "\n" + read_file(folder.path / "errors");
    return read_file(folder.path / "output");
}

std::string command_line(const run_request& request)
{
    std::string line =
        "env -i PATH=/usr/bin:/bin LSAN_OPTIONS=print_suppressions=0:suppressions=" KNOWN_LEAKS;
    for (const auto& [name, value] : request.settings)
        line += " " + name + "=" + quoted(value);
    line += std::string(" ") + EMULATOR + " --start '2026-11-18 14:05:09'"; // unless the options say another
    for (const std::string& option : request.options)
        line += " " + quoted(option);
    return line + " -- " + request.program;
}
