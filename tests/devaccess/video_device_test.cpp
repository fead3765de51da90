#include "devaccess/video_device.h"

#include "tests/support/bench.h"

#include <cerrno>
#include <cstdint>

namespace capd {
namespace {

using Node = emu::CaptureDriver::NodeInfo;
#define GOT "lookup_video_device_node()-> Got 0:0\n"

void remove_all_nodes()
{
    for (int n = 0; n < 64; ++n) bench::box().capture().remove_node(n);
}

// Catches: a node taken for another one's instance, type or bus, a refusing node that ends the search, the last of the
// 64 nodes left out, a path left over from a node that does not match.
TEST(VideoNodeLookup, TakesTheFirstNodeThatMatchesWholly)
{
    // clang-format off
    static const struct {
        const char* what;
        int number;
        Node node; ///< bus, instance, type, task, result of its refusal
        int bus;
        const char* path;
        const char* printed; ///< behind the function's name
    } cases[] = {
        {"any bus", 7, {3, 0, 0, 5}, ANY_BUS, "/dev/video7", "bus(3) inst(0) hTask(5) type(0)\n" GOT},
        {"its bus", 63, {3, 0, 0, -1}, 3, "/dev/video63", "bus(3) inst(0) hTask(-1) type(0)\n" GOT},
        {"another bus", 0, {3, 0, 0, 5}, 2, "", "bus(3) inst(0) hTask(5) type(0)\n"},
        {"another instance", 0, {3, 1, 0, 5}, ANY_BUS, "", "bus(3) inst(1) hTask(5) type(0)\n"},
        {"another type", 0, {3, 0, 2, 5}, ANY_BUS, "", "bus(3) inst(0) hTask(5) type(2)\n"},
        {"version refused", 4, {0, 0, 0, 0, -11}, ANY_BUS, "",
         "/dev/video4 ioctl QVDEV_STRM_IOCTL_DEVICE_INFO APP/Driver Version Not Matched (-1)\n"},
        {"refused", 4, {0, 0, 0, 0, -ENOTTY}, ANY_BUS, "", "/dev/video4 ioctl QVDEV_STRM_IOCTL_DEVICE_INFO failed(-1)\n"},
    };
    // clang-format on
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        remove_all_nodes();
        bench::box().capture().set_node(c.number, c.node);
        char path[32] = "left over";
        bench::Output output;
        EXPECT_EQ(lookup_video_device_node(0, 0, c.bus, path), *c.path == '\0' ? -1 : 0);
        EXPECT_EQ(output.take(), std::string("lookup_video_device_node()-> ") + c.printed);
        EXPECT_STREQ(path, c.path);
    }
}

// Catches: a failed start that is remembered as done, a lookup at every call once the node is open.
TEST(VideoNode, IsLookedForUntilItIsThereAndThenKept)
{
    remove_all_nodes();
    bench::Output output;
    EXPECT_EQ(video_device_open(), 1);
    EXPECT_EQ(output.take(), "Unable to Open .\n");
    uint32_t record[64] = {};
    EXPECT_EQ(video_device_request(0xC0045302, record), -1);
    EXPECT_EQ(errno, EBADF);

    bench::box().capture().set_node(5, {.bus = 0, .instance = 0, .type = 0, .task = 0});
    EXPECT_EQ(video_device_open(), 0);
    EXPECT_EQ(bench::count(output.take(), "Got 0:0"), 1U);
    EXPECT_EQ(sys_init(), 0);
    EXPECT_EQ(output.take(), "");
}

} // namespace
} // namespace capd
