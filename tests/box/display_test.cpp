// The display on the output comes, goes and changes while the daemon works.
#include "emulator/world/edids.h"
#include "tests/box/recorder_box.h"

#include <algorithm>

namespace bench {

// Catches: a hot-plug line that moves about which ends the daemon or a recording, is waited for for ever, or leaves the
// display dark, in the wrong mode or its EDID not passed on.
TEST(Displays, AreDrivenAgainAfterHotPlugHasBouncedOrDropped)
{
    static constexpr struct {
        const char* command;
        const char* display; // in the end
    } rows[] = {
        {"display hpd-bounce 7 13", "tv"},      {"display hpd-bounce 4 60", "tv"},
        {"display hpd-bounce 3 150", "tv"},     {"display hpd-drop", "tv"},
        {"display hpd-drop 30", "tv"},          {"display hpd-drop 500", "tv"},
        {"display replace yuv422", "yuv422"}, // announced by 100 ms
        {"display replace noaudio", "noaudio"},
    };
    RecorderBox recorder;
    recorder.usual_world();
    tell("display plug tv");
    recorder.start({"--correct", "formats"}); // else no television shows the right colours
    for (const auto& row : rows) {
        SCOPED_TRACE(row.command);
        tell("display plug tv");
        run_for(2s);
        recorder.log();
        tell(row.command);
        run_for(4s);
        EXPECT_GE(count(recorder.log(), "Mode change HDMITX_SetOutput();"), 1u);
        const emu::DisplayView view = box().transmitter().view();
        EXPECT_EQ(view.picture, emu::Picture::Good) << view.why;
        EXPECT_EQ(view.signal, emu::OutputSignal::Hdmi);
        EXPECT_EQ(view.sound.plays, view.display.basic_audio) << view.sound.why;
        EXPECT_TRUE(std::ranges::equal(box().edid_rom().bytes(), emu::find_edid(row.display)));
    }
    recorder.press("record", 5s);
    tell("display hpd-bounce 10 20");
    run_for(5s);
    EXPECT_TRUE(recorder.encoder_runs());
}

} // namespace bench
