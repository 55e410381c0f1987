#include "setup.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/mman.h>
#include <unistd.h>

namespace {

/// For a stream that goes to standard output: all other output goes to standard error from now on.
int take_standard_output()
{
    const int descriptor = dup(STDOUT_FILENO);
    dup2(STDERR_FILENO, STDOUT_FILENO);
    return descriptor;
}

bool open_output(output_file& file, const std::string& path)
{
    if (path.empty())
        return true;
    if (path == "-") {
        file.descriptor = take_standard_output();
        return true;
    }
    file.descriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
    return file.descriptor >= 0 || complain_about("cannot write", path);
}

bool open_encoder(emulation& run, const launch_options& options)
{
    if (options.encoder_path.empty()) {
        use_null_packets(run.stream, options.packet_rate);
        return true;
    }
    run.encoder_descriptor = open(options.encoder_path.c_str(), O_RDONLY);
    if (run.encoder_descriptor < 0)
        return complain_about("cannot read", options.encoder_path);
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(options.encoder_path, ignored))
        return complain(options.encoder_path + " is not a file");
    if (std::filesystem::equivalent(options.encoder_path, options.stream_path, ignored))
        return complain("the encoder stream would be overwritten by --stream " + options.stream_path);
    run.encoder_size = static_cast<std::size_t>(std::filesystem::file_size(options.encoder_path, ignored));
    if (run.encoder_size == 0)
        return complain(options.encoder_path + " is empty");
    const auto bytes = map_encoder(run);
    if (bytes.empty())
        return complain_about("cannot read", options.encoder_path);
    const std::string fault = use_encoder(run.stream, bytes, options.packet_rate);
    return fault.empty() || complain("cannot use " + options.encoder_path + ": " + fault);
}

/// Packet memory and registers hold anything before the daemon sets them.
void power_on(epld_model& device)
{
    device.memory.fill(0xA5);
    device.control = 0x05;
    device.tables_deleted = false;
}

} // namespace

bool complain(const std::string& what)
{
    std::fprintf(stderr, "%s: %s\n", program_invocation_short_name, what.c_str());
    return false;
}

bool complain_about(const std::string& what, const std::string& path)
{
    return complain(what + " " + path + ": " + std::strerror(errno));
}

std::optional<int> status_without_run(front_end program, const launch_options& options)
{
    if (options.help)
        return std::fputs(help_text(program).c_str(), stdout) >= 0 ? 0 : status_no_run;
    if (options.version)
        return std::printf("%s %s\n", program_invocation_short_name, TSINSERTD_VERSION) >= 0 ? 0
                                                                                             : status_no_run;
    if (options.error.empty())
        return {};
    complain(options.error + " (--help lists the options)");
    return status_no_run;
}

void keep_standard_streams()
{
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (fcntl(descriptor, F_GETFD) < 0 && open("/dev/null", O_RDWR) < 0)
            return;
}

bool prepare_device(emulation& run, const launch_options& options)
{
    power_on(run.device);
    if (options.generation != "none")
        run.device.new_generation = static_cast<std::uint32_t>(std::atoi(options.generation.c_str())) > 2;
    run.bus_clock_hz = options.bus_clock_hz;
    run.device.stuck_slot = options.stuck_slot;
    run.device.unacknowledged_slot = options.unacknowledged_slot;
    for (const refused_request& refusal : options.refusals)
        run.faults.refusals[run.faults.refusal_count++] = refusal;
    return open_encoder(run, options) && open_output(run.record, options.record_path)
        && open_output(run.stream.output, options.stream_path);
}

std::span<const std::uint8_t> map_encoder(const emulation& run)
{
    if (run.encoder_size == 0)
        return {};
    const void* const bytes =
        mmap(nullptr, run.encoder_size, PROT_READ, MAP_SHARED, run.encoder_descriptor, 0);
    if (bytes == MAP_FAILED)
        return {};
    return {static_cast<const std::uint8_t*>(bytes), run.encoder_size};
}

bool write_summary(const std::string& text, const std::string& path)
{
    if (path.empty())
        return std::fputs(text.c_str(), stdout) >= 0;
    std::FILE* const file = std::fopen(path.c_str(), "w");
    if (file == nullptr)
        return complain_about("cannot write", path);
    const bool written = std::fputs(text.c_str(), file) >= 0;
    return std::fclose(file) == 0 && (written || complain_about("cannot write", path));
}
