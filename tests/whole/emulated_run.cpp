#include "emulated_run.h"

#include <algorithm>
#include <cstdlib>
#include <sstream>
#include <sys/wait.h>

namespace {

std::string quoted(const std::string& text)
{
    std::string result = "'";
    for (const char character : text)
        result += character == '\'' ? std::string("'\\''") : std::string(1, character);
    return result + "'";
}

/// "1.000350 write-block 32 at 20: 83 02 40 0C", and "failed" at the end where it did.
recorded_request parse_record(const std::string& line)
{
    recorded_request request;
    const std::size_t colon = std::min(line.find(':'), line.size());
    std::istringstream head(line.substr(0, colon));
    std::string at;
    head >> request.time_s >> request.kind >> request.register_number >> at >> request.pointer;
    const std::size_t end = std::min(line.find(" failed"), line.size());
    request.failed = end < line.size();
    std::istringstream bytes(line.substr(0, end).substr(std::min(colon + 1, end)));
    for (unsigned value = 0; bytes >> std::hex >> value;)
        request.bytes.push_back(static_cast<std::uint8_t>(value));
    return request;
}

std::vector<recorded_request> parse_records(const std::string& text)
{
    std::vector<recorded_request> requests;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        requests.push_back(parse_record(line));
    return requests;
}

/// "daemon: ended with status 234 after 0.2 s" without the time.
std::string first_sentence(const std::string& summary)
{
    const std::string line = summary.substr(0, summary.find('\n'));
    return line.substr(0, std::min(line.find(", after"), line.find(" after")));
}

} // namespace

std::string command_line(const run_request& request)
{
    std::string line =
        "env -i PATH=/usr/bin:/bin LSAN_OPTIONS=print_suppressions=0:suppressions=" KNOWN_LEAKS;
    for (const auto& [name, value] : request.settings)
        line += " " + name + "=" + quoted(value);
    line += std::string(" ") + EMULATOR;
    for (const std::string& option : request.options)
        line += " " + quoted(option);
    return line + " -- " + request.program;
}

run_result run_daemon_emulated(const run_request& request)
{
    const temporary_folder folder;
    const auto file = [&](const char* name) { return (folder.path / name).string(); };
    run_request whole = request;
    whole.options.insert(whole.options.end(), {"--summary", file("summary"), "--record", file("record")});
    const std::string line =
        command_line(whole) + " >" + file("output") + " 2>" + file("errors") + " </dev/null";
    const int status = std::system(line.c_str()); // NOLINT(cert-env33-c): the shell keeps the output apart
    const std::string summary = read_file(file("summary"));
    return {.emulator_status = WEXITSTATUS(status),
        .daemon_end = first_sentence(summary),
        .output = read_file(file("output")),
        .errors = read_file(file("errors")),
        .summary = summary,
        .requests = parse_records(read_file(file("record")))};
}

run_result run_daemon_emulated(run_request request, const std::string& stream_path)
{
    request.options.insert(request.options.end(), {"--stream", stream_path});
    return run_daemon_emulated(request);
}

std::string output_of_command(const std::string& command)
{
    const temporary_folder folder;
    const auto file = [&](const char* name) { return (folder.path / name).string(); };
    const std::string line = command + " >" + file("output") + " 2>" + file("errors") + " </dev/null";
    if (std::system(line.c_str()) != 0) // NOLINT(cert-env33-c): as above
        return "failed: " + command + "\n" + read_file(file("errors"));
    return read_file(file("output"));
}
