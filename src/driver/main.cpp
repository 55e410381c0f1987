#include "daemon.h"

#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <initializer_list>

namespace {

/// Gives the standard streams a place where they have none: otherwise the bus would be opened as one
/// of them, and messages would go to the device.
void keep_standard_streams()
{
    for (const int descriptor : {0, 1, 2})
        if (fcntl(descriptor, F_GETFD) < 0 && open("/dev/null", O_RDWR) < 0)
            return;
}

} // namespace

int main()
{
    // Nobody needs to read the messages: the device goes on.
    std::signal(SIGPIPE, SIG_IGN);
    keep_standard_streams();
    // Messages reach a pipe or the journal line by line.
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    return run_daemon();
}
