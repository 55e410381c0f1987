#include "silence.h"

#include <algorithm>
#include <array>
#include <unistd.h>

silence::silence(std::FILE* silenced)
    : stream(silenced)
    , kept(dup(fileno(silenced)))
    , messages(std::tmpfile())
{
    std::fflush(stream);
    if (messages)
        dup2(fileno(messages.get()), fileno(stream));
}

silence::~silence()
{
    std::fflush(stream);
    dup2(kept, fileno(stream));
    close(kept);
}

std::string silence::said() const
{
    std::array<char, 500> bytes{};
    std::fflush(stream);
    if (!messages)
        return "";
    const long size_bytes = lseek(fileno(messages.get()), 0, SEEK_END);
    const long begin = std::max(size_bytes - static_cast<long>(bytes.size()), 0L);
    const ssize_t count = pread(fileno(messages.get()), bytes.data(), bytes.size(), begin);
    std::string text;
    for (const char character :
        std::string_view(bytes.data(), static_cast<std::size_t>(std::max(count, ssize_t{0}))))
        text.append(character == '\n' ? "; " : std::string_view(&character, 1));
    return text.ends_with("; ") ? text.substr(0, text.size() - 2) : text;
}
