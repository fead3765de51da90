#include "services/encoder.h"
#include "services/message_queue.h"

#include "emulator/kernel/paths.h"
#include "platform/platform.h"
#include "tests/support/bench.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <sys/msg.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace capd {
namespace {

using namespace std::chrono_literals;

/** Put a script of the test's own in the encoder's place. Such a test lets no time pass: the box knows its own only. */
void put_script(const std::string& text)
{
    bench::box().root().write("/kxbin/enc.sh", "#!/bin/sh\n" + text);
    ASSERT_EQ(chmod(bench::box().root().map("/kxbin/enc.sh").c_str(), 0755), 0);
}

/** Wait for the child's end without collecting it. */
void await_end()
{
    siginfo_t info;
    ASSERT_EQ(waitid(P_ALL, 0, &info, WEXITED | WNOWAIT), 0);
}

// Catches: another folder, file or argument than the script expects, an input that is not the stop pipe, a byte too
// many, descriptors or ignored signals that a child of the encoder would keep.
TEST(EncoderRunner, StartsTheScriptInItsFolderAndStopsItWithOneByte)
{
    put_script("{ echo \"$0 $1 $2\"; pwd; ls -l /proc/$$/fd | grep -cF $(readlink /proc/$$/fd/0); grep SigIgn "
               "/proc/$$/status; cat; } >seen\n");
    const emu::RootFs& root = bench::box().root();
    EXPECT_EQ(av_rec_stop(), 1);
    EXPECT_EQ(av_rec_isok(), 0);
    EXPECT_EQ(av_rec_elapsed_ms(), 0UL);
    ASSERT_EQ(av_rec_start(0, "/mnt/sddisk/00001.00001.mp4"), 0);
    EXPECT_EQ(av_rec_start(1, "/mnt/sddisk/00002.00001.mp4"), -2);
    EXPECT_EQ(av_rec_isok(), 0);
    EXPECT_EQ(av_rec_stop(), 0);
    EXPECT_EQ(root.read("/kxbin/seen"), root.map("/kxbin/enc.sh") + " low.cfg /mnt/sddisk/00001.00001.mp4\n" +
                                            root.map("/kxbin") + "\n1\nSigIgn:\t0000000000000000\nq");
    EXPECT_EQ(av_rec_isok(), 0);
    EXPECT_EQ(av_rec_stop(), 1);
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "the child was collected";
}

// Catches: a stop that ends the daemon or leaves a signal behind when the encoder died unnoticed, a pipe that leaks.
TEST(EncoderRunner, AStopToADeadEncoderHurtsNobody)
{
    put_script("exit 0\n");
    const int lowest = dup(0);
    close(lowest);
    for (int i = 0; i < 3; ++i) {
        ASSERT_EQ(av_rec_start(1, "/x"), 0);
        await_end();
        EXPECT_EQ(av_rec_stop(), 0);
    }
    const int free_now = dup(0);
    close(free_now);
    EXPECT_EQ(free_now, lowest);
    sigset_t set;
    sigpending(&set);
    EXPECT_EQ(sigismember(&set, SIGPIPE), 0);
    pthread_sigmask(SIG_BLOCK, nullptr, &set);
    EXPECT_EQ(sigismember(&set, SIGPIPE), 0);
    struct sigaction action;
    sigaction(SIGPIPE, nullptr, &action);
    EXPECT_EQ(action.sa_handler, SIG_DFL);
}

// Catches: a death that is told twice or hides the next recording, a descriptor closed a second time.
TEST(EncoderRunner, ADeathIsToldOnceAndTheNextStartForgetsIt)
{
    put_script("exit 0\n");
    bench::Output output;
    ASSERT_EQ(av_rec_start(0, "/x"), 0);
    await_end();
    EXPECT_EQ(av_rec_isok(), 1);
    const std::string told = output.take();
    EXPECT_TRUE(told.starts_with("Child ") && told.ends_with(" terminated\n")) << told;
    EXPECT_EQ(av_rec_isok(), 0);
    EXPECT_EQ(av_rec_start(0, "/x"), -2) << "until it was stopped";
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(av_rec_stop(), 2);
        EXPECT_EQ(output.take(), "Video recording process is dead!\n");
    }
    EXPECT_NE(fcntl(0, F_GETFD), -1) << "standard input is not the pipe";
    ASSERT_EQ(av_rec_start(0, "/x"), 0);
    EXPECT_EQ(av_rec_stop(), 0);
}

// Catches: pending output of the daemon that a failed child prints once more, a child that goes on as a second daemon.
TEST(EncoderRunner, AFailedExecIsToldByTheChildAlone)
{
    bench::tell("encoder missing");
    bench::Output output;
    printf("pending line\n");
    ASSERT_EQ(av_rec_start(0, "/x"), 0);
    await_end();
    EXPECT_EQ(av_rec_isok(), 1);
    const std::string text = output.take();
    EXPECT_EQ(bench::count(text, "pending line\n"), 1U);
    EXPECT_EQ(bench::count(text, "execlp error when running enc.sh, strerror=No such file or directory"), 1U);
    EXPECT_EQ(av_rec_stop(), 2);
}

// Catches: pipe ends that are taken for standard streams when the daemon was started without them.
TEST(EncoderRunner, WorksWithoutStandardStreams)
{
    put_script("cat >stopped\n");
    const int saved[] = {fcntl(0, F_DUPFD_CLOEXEC, 10), fcntl(1, F_DUPFD_CLOEXEC, 10)};
    close(0);
    close(1);
    const int started = av_rec_start(0, "/x");
    const int stopped = av_rec_stop();
    dup2(saved[0], 0);
    dup2(saved[1], 1);
    EXPECT_EQ(started, 0);
    EXPECT_EQ(stopped, 0);
    EXPECT_EQ(bench::box().root().read("/kxbin/stopped"), "q");
}

// Catches: an end of the stop pipe that a shell line takes along: the encoder would wait for it as for the daemon.
TEST(EncoderRunner, NoOtherChildHoldsTheStopPipe)
{
    put_script("cat >stopped\n");
    const auto descriptors_of_a_shell_line = [] {
        char line[64] = "";
        EXPECT_TRUE(platform::read_shell_line("ls /proc/self/fd | wc -l", line, sizeof(line)));
        return std::string(line);
    };
    const std::string before = descriptors_of_a_shell_line();
    ASSERT_EQ(av_rec_start(0, "/x"), 0);
    EXPECT_EQ(descriptors_of_a_shell_line(), before);
    EXPECT_EQ(av_rec_stop(), 0);
}

TEST(EncoderRunner, TimeIsCountedInWholeSecondsOfTheWallClock)
{
    bench::tell("card insert");
    std::filesystem::current_path(bench::box().root().map("/kxbin"));
    bench::run_for(1h + 600ms);
    ASSERT_EQ(av_rec_start(0, "/card/x.mp4"), 0);
    bench::run_for(300ms);
    EXPECT_EQ(av_rec_elapsed_ms(), 0UL);
    bench::run_for(100ms);
    EXPECT_EQ(av_rec_elapsed_ms(), 1000UL) << "the clock's second has changed";
    bench::run_for(2h);
    EXPECT_EQ(av_rec_elapsed_ms(), 7201000UL);
    EXPECT_EQ(av_rec_stop(), 0);
    EXPECT_EQ(av_rec_elapsed_ms(), 7201000UL);
}

// Catches: a waiting message that blocks, an empty queue that is told as an error, a type that is lost.
TEST(EncoderRunner, TheQueueGivesTheTypeOfTheFirstMessage)
{
    bench::Output output;
    int type = 77;
    EXPECT_EQ(runner_receive_message(&type), -EINVAL);
    EXPECT_EQ(output.take(), "runner.c: msgrcv errno(-22)\n");
    ASSERT_EQ(runner_init(), 0);
    const int queue = msgget(emu::map_queue_key(bench::box().root().path(), 0x2027), 0);
    ASSERT_GE(queue, 0);
    msqid_ds state{};
    ASSERT_EQ(msgctl(queue, IPC_STAT, &state), 0);
    EXPECT_EQ(state.msg_perm.mode, 0666) << "other programs of the box may be another user's";
    type = 77;
    EXPECT_EQ(runner_receive_message(&type), -ENOMSG);
    EXPECT_EQ(type, 77);
    EXPECT_EQ(output.take(), "");
    struct {
        long type;
        char body[64];
    } message{5, {}};
    ASSERT_EQ(msgsnd(queue, &message, 10, 0), 0);
    EXPECT_EQ(runner_receive_message(&type), 0);
    EXPECT_EQ(type, 5);
    EXPECT_EQ(output.take(), "runner.c: msgrcv type(5)\n");
}

} // namespace
} // namespace capd
