#include "tests/emulator/encoder_script.h"

#include <csignal>
#include <fstream>
#include <memory>
#include <nlohmann/json.hpp>
#include <vector>

namespace {

using bench::box;
using namespace std::chrono_literals;

/** A command whose answers come while the test goes on. */
struct Later {
    explicit Later(const std::string& line)
    {
        listener->take = [this](const emu::Reply& reply) { answers.push_back(reply); };
        listener->take(box().command(line, {.folder = {}, .rehearsal = false, .listener = listener}));
    }
    ~Later() { listener->take = nullptr; }

    bool done() const { return answers.back().kind != emu::Reply::Kind::More; }
    std::string text() const
    {
        std::string all;
        for (const emu::Reply& answer : answers) all += answer.text;
        return all;
    }

    std::shared_ptr<emu::Listener> listener = std::make_shared<emu::Listener>();
    std::vector<emu::Reply> answers;
};

// Catches: a wait that ends early, late or never; one that says neither what was expected nor what is there instead.
TEST(Wait, EndsWhenItIsSoAndNotBefore)
{
    bench::tell("source 0 sync-delay 3000");
    bench::tell("receiver lock-time 1000");
    const std::string log = box().root().path() + "/log";
    static const struct {
        const char *condition, *expected, *before;
        std::function<void()> happens;
    } cases[] = {
        {"input stable", "the input to be stable", "no sync", [] { bench::tell("source 0 plug 1080p60"); }},
        {"input lost", "the input to be lost", "HDMI 1920x1080p", [] { bench::tell("source 0 unplug"); }},
        {"port 1", "port 1 to be selected", "port 0",
         [] {
             const uint8_t select[] = {2, 0x06};
             box().i2c().write(emu::i2c_address::BOARD, select);
         }},
        {"led error on", "LED error to be on", "off",
         [] {
             const uint8_t light[] = {5, 0x40};
             box().i2c().write(emu::i2c_address::BOARD, light);
         }},
        {"card mounted", "the card to be mounted", "not in the slot",
         [] {
             bench::tell("card insert");
             const std::string mount = "/bin/mount -t vfat /dev/mmcblk0p1 /mnt/sddisk";
             EXPECT_EQ(std::system(box().root().map_line(mount).c_str()), 0);
         }},
        {"file a/b.mp4 4", "a/b.mp4 to have more than 4 kB", "a/b.mp4 is not on the card",
         [] { bench::tell("card put a/b.mp4 5"); }},
        {"log LOG \"two words\" times 2", "'two words' in LOG 2 times", "it is there 1 times",
         [&log] {
             std::ofstream(log, std::ios::app) << "two wo"
                                               << "rds\n";
         }},
    };
    std::ofstream(log) << "first\ntwo words\n";
    for (const auto& c : cases) {
        SCOPED_TRACE(c.condition);
        const auto named = [&log](std::string text) {
            if (const size_t at = text.find("LOG"); at != std::string::npos) text.replace(at, 3, log);
            return text;
        };
        const std::string line = "wait " + named(c.condition);
        const Later vain(line + " 2.5");
        bench::run_for(2400ms);
        EXPECT_FALSE(vain.done());
        bench::run_for(150ms);
        ASSERT_TRUE(vain.done());
        EXPECT_EQ(vain.answers.back().kind, emu::Reply::Kind::TooLate);
        EXPECT_EQ(vain.text(), line + " 2.5: expected " + named(c.expected) + " within 2.5 s; now: " + c.before);
        const Later wait(line);
        c.happens();
        bench::run_for(4100ms);
        EXPECT_TRUE(wait.done() && wait.answers.back().ok) << wait.text();
        EXPECT_TRUE(Later(line + " 0").answers.front().ok) << "it is so already";
    }
}

// Catches: waits that mistake one recording for another, or a killed encoder for one that runs.
TEST(Wait, KnowsWhatIsRecorded)
{
    bench::tell("wait idle 0");
    bench::tell("card insert");
    Script script = start("/card/1.mp4");
    bench::tell("wait recording");
    bench::tell("wait recording 1.mp4 1");
    EXPECT_EQ(box().command("wait recording 2.mp4 0").text,
              "wait recording 2.mp4 0: expected a recording of 2.mp4 within 0 s; now: recording 1.mp4");
    bench::tell("wait file 1.mp4 100");
    Later idle("wait idle 60");
    kill(script.pid(), SIGKILL);
    while (script.runs()) bench::run_for(1us);
    bench::run_for(100ms);
    EXPECT_TRUE(idle.done() && idle.answers.back().ok);
    EXPECT_NE(bench::ask("show encoder").find("idle, 1 recordings so far"), std::string::npos);
}

// Catches: a wait or watch that goes on for a client that is gone, and silence that looks like a box that hangs.
TEST(Wait, GivesSignsOfLifeAndEndsWithItsListener)
{
    Later wait("wait recording 100"), watch("watch");
    bench::run_for(10s);
    for (const Later* one : {&wait, &watch}) {
        EXPECT_GE(one->answers.size(), 16u);
        EXPECT_LE(one->answers.size(), 24u);
        EXPECT_EQ(one->text(), "");
    }
    const size_t heard = wait.answers.size();
    wait.listener->take = watch.listener->take = nullptr;
    bench::run_for(1s);
    EXPECT_EQ(wait.answers.size(), heard);
    EXPECT_EQ(wait.listener.use_count(), 1) << "nothing of it is left";
    EXPECT_EQ(watch.listener.use_count(), 1);
    EXPECT_FALSE(box().command("watch").ok) << "nobody listens";
}

// Catches: a change that a watcher does not see, or sees twice.
TEST(Watch, PrintsEachChangeOnce)
{
    bench::tell("source 0 plug 1080p60");
    bench::run_for(1s);
    const Later watch("watch");
    bench::run_for(1s);
    EXPECT_EQ(watch.text(), "");
    bench::tell("display plug tv");
    bench::tell("card insert");
    bench::tell("source 0 mute on");
    bench::run_for(1s);
    bench::tell("source 0 unplug");
    bench::run_for(1s);
    const std::string text = watch.text();
    for (const char* change : {" s  display: tv, picture none\n", " s  card: in the slot\n",
                               " s  input: HDMI 1920x1080p, AV mute received\n", " s  input: no sync\n"})
        EXPECT_EQ(bench::count(text, change), 1u) << change << text;
    EXPECT_EQ(bench::count(text, "\n"), 6u) << text;
}

// Catches: a section that programs cannot read, and JSON that says something else than the box.
TEST(Show, HasEverySectionAsJson)
{
    bench::tell("card insert 50000");
    bench::tell("card put \"odd \xff name\" 3");
    bench::tell("display plug tv");
    bench::tell("source 1 plug 1080i60 colour yuv422 audio lpcm 44100 6");
    const Script script = start("/card/1.mp4");
    bench::tell("wait recording");
    const auto all = nlohmann::json::parse(bench::ask("show --json"));
    for (const auto& section : all.items()) {
        EXPECT_FALSE(section.value().is_null()) << section.key();
        EXPECT_EQ(nlohmann::json::parse(bench::ask("show " + section.key() + " --json")).type(),
                  section.value().type());
    }
    size_t sections = 0;
    const std::string text = bench::ask("show");
    for (size_t at = text.find("-- "); at != std::string::npos; at = text.find("\n-- ", at + 1)) ++sections;
    EXPECT_EQ(all.size(), sections);
    EXPECT_EQ(all["card"]["size_kb"], 50000);
    EXPECT_EQ(all["card"]["files"].size(), 2u);
    EXPECT_EQ(all["leds"]["storage"].size(), 6u);
    EXPECT_EQ(all["display"]["product"], "Emu TV 42");
    EXPECT_EQ(all["input"]["ports"][0]["signal"], nullptr);
    EXPECT_EQ(all["input"]["ports"][1]["signal"]["height"], 1080);
    EXPECT_EQ(all["input"]["ports"][1]["signal"]["colour"], "yuv422");
    EXPECT_EQ(all["input"]["ports"][1]["signal"]["sound"]["channels"], 6);
    EXPECT_EQ(all["encoder"]["recording"]["width"], 1920);
    EXPECT_EQ(all["rom"]["bytes"].get<std::string>().substr(0, 16), "00ffffffffffff00");
    EXPECT_EQ(all["nvram"]["memory"], nlohmann::json::object());
}

} // namespace
