// Preloaded beneath the daemon: answers in the C library's stead for the I2C bus, the files that the
// board provides, the clock and the sleeps. Everything else goes on to the system. It allocates
// nothing and prints nothing, so that the daemon's own memory and output stay as they are.

#include "emulation.h"
#include "judge.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

// Functions here; other C libraries make these names macros.
#undef open64
#undef fopen64

namespace {

constexpr const char* bus_path = "/dev/i2c-0";
constexpr const char* version_path = "/sys/class/orlex/epld2/version";
constexpr std::string_view resources_path = "/usr/playout/.medias/resources/";
constexpr unsigned long device_address = 5;
constexpr std::int64_t second_ns = 1'000'000'000;
constexpr std::int64_t microsecond_ns = 1'000;

emulation* run = nullptr;
std::span<const std::uint8_t> encoder;
int bus_descriptor = -1;
std::int64_t real_begin_ns = 0;
bool foreign = false; ///< this process is not the daemon; it must not reach a real bus either

std::int64_t real_clock_ns()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * second_ns + now.tv_nsec;
}

[[gnu::constructor]] void attach_to_run()
{
    const char* const text = std::getenv(emulation::memory_variable);
    if (text == nullptr)
        return;
    void* const memory =
        mmap(nullptr, sizeof(emulation), PROT_READ | PROT_WRITE, MAP_SHARED, std::atoi(text), 0);
    if (memory == MAP_FAILED)
        return;
    auto* const shared = static_cast<emulation*>(memory);
    if (shared->daemon != 0 && shared->daemon != getpid()) {
        foreign = true; // a child of the daemon
        return;
    }
    shared->daemon = getpid();
    if (shared->encoder_size != 0) {
        const void* const bytes =
            mmap(nullptr, shared->encoder_size, PROT_READ, MAP_SHARED, shared->encoder_descriptor, 0);
        if (bytes == MAP_FAILED)
            return;
        encoder = {static_cast<const std::uint8_t*>(bytes), shared->encoder_size};
    }
    real_begin_ns = real_clock_ns();
    run = shared;
}

[[noreturn]] void end_run()
{
    run->run_over = true;
    flush(run->record);
    flush(run->stream.output);
    std::exit(0); // so that what a sanitizer has to say at the end is said
}

timespec timespec_of(std::int64_t time_ns)
{
    return {.tv_sec = static_cast<std::time_t>(time_ns / second_ns),
        .tv_nsec = static_cast<decltype(timespec::tv_nsec)>(time_ns % second_ns)};
}

void sleep_until(std::int64_t target_ns)
{
    const timespec target = timespec_of(target_ns);
    clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &target, nullptr);
}

/// Lets time pass as it does; meanwhile the stream comes out, for whoever is watching it.
void pass_real_time(std::int64_t until_ns)
{
    constexpr std::int64_t step_ns = second_ns / 10;
    do {
        sleep_until(real_begin_ns + std::min(run->now_ns + step_ns, until_ns));
        const std::int64_t now_ns = real_clock_ns() - real_begin_ns;
        advance(*run, encoder, std::clamp(now_ns, run->now_ns, run->duration_ns));
        flush(run->record);
        flush(run->stream.output);
    } while (run->now_ns < until_ns);
}

/// Lets time pass, in the device too. The run ends when its time is up.
void pass_time(std::int64_t elapsed_ns)
{
    if (run->run_over)
        return;
    const std::int64_t until_ns = std::min(run->now_ns + elapsed_ns, run->duration_ns);
    if (run->real_time)
        pass_real_time(until_ns);
    else
        advance(*run, encoder, until_ns);
    if (run->now_ns >= run->duration_ns)
        end_run();
}

int refuse(int error)
{
    errno = error;
    return -1;
}

int open_bus()
{
    if (!request_access(*run, request_kind::open))
        return refuse(ENOENT);
    bus_descriptor = static_cast<int>(syscall(SYS_openat, AT_FDCWD, "/dev/null", O_PATH | O_CLOEXEC));
    run->device_open = bus_descriptor >= 0;
    if (bus_descriptor >= 0 && bus_descriptor <= STDERR_FILENO)
        report_violation(
            run->device, violation_kind::bus_takes_messages, static_cast<std::uint32_t>(bus_descriptor));
    return bus_descriptor;
}

int bind_bus(unsigned long address)
{
    if (!request_access(*run, request_kind::bind))
        return refuse(EBUSY);
    run->device_bound = address == device_address;
    return 0;
}

/// The two bytes of a word as they go over the wire, whatever their order in memory: low byte first.
std::span<std::uint8_t> wire_order(std::uint16_t word)
{
    static std::array<std::uint8_t, 2> bytes;
    bytes = {static_cast<std::uint8_t>(word), static_cast<std::uint8_t>(word >> 8)};
    return bytes;
}

struct smbus_request {
    bool known = false;
    bus_transfer transfer{};
};

/// What an SMBus request means to the device.
smbus_request decode(i2c_smbus_ioctl_data& request)
{
    const bool read = request.read_write == I2C_SMBUS_READ;
    smbus_request decoded{.known = true, .transfer = {.register_number = request.command}};
    if (request.size == I2C_SMBUS_BYTE_DATA) {
        decoded.transfer.kind = read ? request_kind::read_byte : request_kind::write_byte;
        decoded.transfer.bytes = {&request.data->byte, 1};
    } else if (request.size == I2C_SMBUS_WORD_DATA && !read) {
        decoded.transfer.kind = request_kind::write_word;
        decoded.transfer.bytes = wire_order(request.data->word);
    } else if (request.size == I2C_SMBUS_I2C_BLOCK_DATA && request.data->block[0] <= I2C_SMBUS_BLOCK_MAX) {
        decoded.transfer.kind = read ? request_kind::read_block : request_kind::write_block;
        decoded.transfer.bytes = {&request.data->block[1], request.data->block[0]};
    } else {
        decoded.known = false;
    }
    return decoded;
}

int transfer_on_bus(i2c_smbus_ioctl_data& request)
{
    const auto [known, transfer] = decode(request);
    if (!known || !run->device_bound) {
        refuse_request(
            *run, known ? violation_kind::not_bound : violation_kind::unknown_transfer, request.command);
        return refuse(known ? ENXIO : EINVAL);
    }
    const std::int64_t began_ns = run->now_ns;
    const std::int64_t bus_ns = bus_time_ns(*run, transfer.kind, transfer.bytes.size());
    run->bus_ns += bus_ns;
    pass_time(std::max(bus_ns, microsecond_ns));
    return request_transfer(*run, transfer, began_ns) ? 0 : refuse(EIO);
}

struct redirected_path {
    std::array<char, 8192> text{};
};

/// A path as the board's file system would answer it; null when the board has no such file.
const char* redirect(const char* path, redirected_path& buffer)
{
    if (run == nullptr)
        return path;
    if (std::strcmp(path, version_path) == 0) {
        if (run->version_descriptor < 0)
            return nullptr;
        std::snprintf(buffer.text.data(), buffer.text.size(), "/proc/self/fd/%d", run->version_descriptor);
        return buffer.text.data();
    }
    const std::string_view wanted(path);
    if (run->resources[0] == '\0' || !wanted.starts_with(resources_path))
        return path;
    std::snprintf(
        buffer.text.data(), buffer.text.size(), "%s/%s", run->resources.data(), path + resources_path.size());
    return buffer.text.data();
}

int open_path(const char* path, int flags, mode_t mode)
{
    if (std::strcmp(path, bus_path) == 0 && (run != nullptr || foreign))
        return run != nullptr ? open_bus() : refuse(ENOENT);
    redirected_path buffer;
    const char* const real = redirect(path, buffer);
    return real == nullptr ? refuse(ENOENT)
                           : static_cast<int>(syscall(SYS_openat, AT_FDCWD, real, flags, mode));
}

/// What `open` is to do for the mode of an `fopen` (POSIX.1-2017, fopen).
int open_flags(std::string_view mode)
{
    const auto has = [mode](char letter) { return mode.find(letter) != std::string_view::npos; };
    const int access = has('+') ? O_RDWR : has('r') ? O_RDONLY : O_WRONLY;
    const int creation = has('w') ? O_CREAT | O_TRUNC : has('a') ? O_CREAT | O_APPEND : 0;
    return access | creation | (has('x') ? O_EXCL : 0) | (has('e') ? O_CLOEXEC : 0) | O_LARGEFILE;
}

/// Made of calls that this library does not answer itself, so that the C library's own is not needed.
std::FILE* open_stream(const char* path, const char* mode)
{
    redirected_path buffer;
    const char* const real = redirect(path, buffer);
    const int descriptor = real == nullptr
        ? refuse(ENOENT)
        : static_cast<int>(syscall(SYS_openat, AT_FDCWD, real, open_flags(mode), 0666));
    std::FILE* const stream = descriptor < 0 ? nullptr : fdopen(descriptor, mode);
    if (stream == nullptr && descriptor >= 0)
        syscall(SYS_close, descriptor);
    return stream;
}

int control(int descriptor, unsigned long request, void* argument)
{
    if (run == nullptr || descriptor != bus_descriptor || descriptor < 0)
        return static_cast<int>(syscall(SYS_ioctl, descriptor, request, argument));
    if (request == I2C_SLAVE)
        return bind_bus(reinterpret_cast<unsigned long>(argument));
    auto* const smbus = static_cast<i2c_smbus_ioctl_data*>(argument);
    if (request == I2C_SMBUS && (smbus == nullptr || smbus->data == nullptr))
        return refuse(EFAULT);
    if (request == I2C_SMBUS)
        return transfer_on_bus(*smbus);
    refuse_request(*run, violation_kind::unknown_transfer, static_cast<std::uint32_t>(request));
    return refuse(ENOTTY);
}

/// The clock's reading, seconds since the epoch.
std::int64_t clock_s()
{
    if (run == nullptr) {
        timespec real{};
        clock_gettime(CLOCK_REALTIME, &real);
        return real.tv_sec;
    }
    pass_time(microsecond_ns);
    ++run->clock_readings;
    const std::int64_t set_by_s = run->now_ns >= run->clock_set_at_ns ? run->clock_set_by_s : 0;
    return run->start_s + run->now_ns / second_ns + set_by_s;
}

mode_t creation_mode(int flags, std::va_list arguments)
{
    return (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
}

} // namespace

// The C library's functions. Their names and types are its own.
// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name, cert-dcl50-cpp)
extern "C" {

int open(const char* path, int flags, ...)
{
    std::va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = creation_mode(flags, arguments);
    va_end(arguments);
    return open_path(path, flags, mode);
}

int open64(const char* path, int flags, ...)
{
    std::va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = creation_mode(flags, arguments);
    va_end(arguments);
    return open_path(path, flags | O_LARGEFILE, mode);
}

// What `open` and `open64` with constant flags become in a fortified build.
// NOLINTBEGIN(bugprone-reserved-identifier)

int __open_2(const char* path, int flags)
{
    return open_path(path, flags, 0);
}

int __open64_2(const char* path, int flags)
{
    return open_path(path, flags | O_LARGEFILE, 0);
}

// NOLINTEND(bugprone-reserved-identifier)

std::FILE* fopen(const char* path, const char* mode)
{
    return open_stream(path, mode);
}

std::FILE* fopen64(const char* path, const char* mode)
{
    return open_stream(path, mode);
}

int access(const char* path, int mode) noexcept
{
    redirected_path buffer;
    const char* const real = redirect(path, buffer);
    return real == nullptr ? refuse(ENOENT) : static_cast<int>(syscall(SYS_faccessat, AT_FDCWD, real, mode));
}

int close(int descriptor)
{
    if (run != nullptr && descriptor == bus_descriptor && descriptor >= 0) {
        (void)request_access(*run, request_kind::close);
        run->device_open = false;
        run->device_bound = false;
        bus_descriptor = -1;
    }
    return static_cast<int>(syscall(SYS_close, descriptor));
}

int ioctl(int descriptor, unsigned long request, ...) noexcept
{
    std::va_list arguments;
    va_start(arguments, request);
    auto* const argument = va_arg(arguments, void*);
    va_end(arguments);
    return control(descriptor, request, argument);
}

std::time_t time(std::time_t* result) noexcept
{
    const auto now = static_cast<std::time_t>(clock_s());
    if (result != nullptr)
        *result = now;
    return now;
}

// What 32-bit C libraries call where the time has 64 bits.
// NOLINTBEGIN(bugprone-reserved-identifier)

int __ioctl_time64(int descriptor, unsigned long request, ...) noexcept
{
    std::va_list arguments;
    va_start(arguments, request);
    auto* const argument = va_arg(arguments, void*);
    va_end(arguments);
    return control(descriptor, request, argument);
}

#if !_REDIR_TIME64 // musl compiles `time` above under this name
std::int64_t __time64(std::int64_t* result) noexcept
{
    const std::int64_t now = clock_s();
    if (result != nullptr)
        *result = now;
    return now;
}
#endif

// NOLINTEND(bugprone-reserved-identifier)

unsigned sleep(unsigned seconds)
{
    if (run != nullptr) {
        ++run->sleeps;
        pass_time(seconds * second_ns);
        return 0;
    }
    const timespec pause = timespec_of(seconds * second_ns);
    timespec left{};
    return nanosleep(&pause, &left) == 0 ? 0 : static_cast<unsigned>(left.tv_sec);
}

int usleep(useconds_t pause_us)
{
    if (run != nullptr) {
        ++run->sleeps;
        pass_time(pause_us * microsecond_ns);
        return 0;
    }
    const timespec pause = timespec_of(pause_us * microsecond_ns);
    return nanosleep(&pause, nullptr);
}

} // extern "C"
// NOLINTEND(readability-inconsistent-declaration-parameter-name, cert-dcl50-cpp)
