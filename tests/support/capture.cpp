#include "capture.h"

#include "temporary.h"

#include <cstdio>
#include <unistd.h>

namespace {

std::string output_of(std::FILE* stream, const std::function<void()>& action)
{
    std::fflush(stream);
    const int descriptor = fileno(stream);
    const int kept = dup(descriptor);
    std::FILE* caught = std::tmpfile();
    dup2(fileno(caught), descriptor);
    action();
    std::fflush(stream);
    dup2(kept, descriptor);
    close(kept);

    std::string text = read_file("/proc/self/fd/" + std::to_string(fileno(caught)));
    std::fclose(caught);
    return text;
}

} // namespace

std::string stdout_of(const std::function<void()>& action)
{
    return output_of(stdout, action);
}

std::string stderr_of(const std::function<void()>& action)
{
    return output_of(stderr, action);
}
