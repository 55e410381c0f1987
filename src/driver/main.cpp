#include "daemon.h"

#include <cstdio>

int main()
{
    // Messages reach a pipe or the journal line by line.
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    return run_daemon();
}
