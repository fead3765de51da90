/**
 * @file
 * The standard streams of a running command. The box's modules print on all three, as a console has them, and so do the
 * shell lines that they run. While Streams lives that chatter goes nowhere, or to standard error when it is wanted, and
 * the command itself works with the descriptors kept here. Main thread only.
 */
#pragma once

#include <array>
#include <string_view>

namespace boxtool {

class Streams {
public:
    /** @param chatter show on standard error what the modules print */
    explicit Streams(bool chatter);
    ~Streams();
    Streams(const Streams&) = delete;
    Streams& operator=(const Streams&) = delete;

    /** @name Descriptors of the real streams; -1 for one that is closed
     * @{ */
    int input() const { return saved_[0]; }
    int output() const { return saved_[1]; }
    int error() const { return saved_[2]; }
    /** @} */

private:
    std::array<int, 3> saved_;
};

/** Write all of a text or of some bytes. @return 0 or errno */
int write_all(int fd, std::string_view bytes);

} // namespace boxtool
