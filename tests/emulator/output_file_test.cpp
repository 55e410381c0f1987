#include "output_file.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <memory>
#include <unistd.h>
#include <vector>

/// A pipe takes a part of the buffer, and then nothing more for want of a reader.
TEST(OutputFile, GoesOnBehindAShortWriteAndKeepsTheFirstError)
{
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe2(ends.data(), O_NONBLOCK), 0);
    const auto file = std::make_unique<output_file>();
    file->descriptor = ends[1];
    append(*file, std::vector<std::uint8_t>(file->bytes.size(), 7));
    EXPECT_EQ(file->error, EAGAIN);
    std::vector<std::uint8_t> taken(file->bytes.size());
    EXPECT_GT(read(ends[0], taken.data(), taken.size()), 0);
    append(*file, std::vector<std::uint8_t>(file->bytes.size(), 8));
    EXPECT_EQ(read(ends[0], taken.data(), taken.size()), -1) << "nothing follows what was lost";
    close(ends[0]);
    close(ends[1]);
}
