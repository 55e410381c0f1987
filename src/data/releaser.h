#pragma once

/// Makes a library's release function the deleter of a `std::unique_ptr`.
template <auto release> struct releaser {
    template <typename handle> void operator()(handle* held) const
    {
        release(held);
    }
};
