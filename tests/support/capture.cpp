#include "capture.h"

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

    std::rewind(caught);
    std::string text;
    for (int character = std::fgetc(caught); character != EOF; character = std::fgetc(caught))
        text.push_back(static_cast<char>(character));
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
