#pragma once

#include <cstdio>
#include <cstdlib>
#include <memory>

/// Makes a library's release function the deleter of a `std::unique_ptr`.
template <auto release> struct releaser {
    template <typename handle> void operator()(handle* held) const
    {
        release(held);
    }
};

using owned_file = std::unique_ptr<std::FILE, releaser<std::fclose>>;
using owned_bytes = std::unique_ptr<char, releaser<std::free>>;
