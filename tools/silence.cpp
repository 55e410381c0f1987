#include "silence.h"

#include <fcntl.h>
#include <unistd.h>

silence::silence(std::FILE* silenced)
    : stream(silenced)
    , kept(dup(fileno(silenced)))
{
    std::fflush(stream);
    const int nothing = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(nothing, fileno(stream));
    close(nothing);
}

silence::~silence()
{
    std::fflush(stream);
    dup2(kept, fileno(stream));
    close(kept);
}
