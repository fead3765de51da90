#include "tests/box/recorder_box.h"
#include "tests/hdmirx/receiver_bench.h"

namespace {

/** What the encoder's configuration says of the picture: "1920x1080 30 interlace". */
std::string configured()
{
    const std::string text = bench::box().root().read("/kxbin/low.cfg");
    const auto value = [&](const std::string& key) {
        const size_t begin = text.find_first_not_of(" \t", text.find(key) + key.size());
        return text.substr(begin, text.find('\n', begin) - begin);
    };
    return value("PictureResolution-InPicWidth") + "x" + value("PictureResolution-InPicHeight") + " " +
           value("InputControl-InFrameRate") + " " + value("InputControl-ScanFormat");
}

} // namespace

// Catches: a recording that goes on in the old format after the source has changed it, or is never taken up again.
TEST(ReceiverInTheDaemon, FormatChangeWhileRecordingStartsThePartInTheNewFormat)
{
    bench::RecorderBox recorder;
    bench::tell("card insert");
    bench::box().source(0).plug(bench::picture("1080i60"));
    recorder.start();
    recorder.press("record", std::chrono::seconds(7));
    ASSERT_TRUE(recorder.encoder_runs());
    EXPECT_EQ(configured(), "1920x1080 30 interlace");
    bench::box().source(0).change(bench::picture("720p50"));
    bench::run_for(std::chrono::seconds(5));
    EXPECT_TRUE(recorder.encoder_runs());
    EXPECT_EQ(configured(), "1280x720 50 progressive");
    EXPECT_EQ(recorder.recordings(), "00001.00001.mp4 00001.00002.mp4 ");
    EXPECT_EQ(bench::count(recorder.log(), "Got stable input again, starting recording\n"), 1u);
}
