/**
 * @file
 * A box with its server in a thread, and the seam of its clients in front of it, in one process.
 */
#pragma once

#include "emulator/base/scratch_folder.h"
#include "emulator/remote/protocol.h"
#include "emulator/remote/server/server.h"
#include "emulator/scenario.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <sys/eventfd.h>
#include <thread>
#include <unistd.h>

/** A box that answers at its socket until it goes, as one that is switched off. */
class RunningBox {
public:
    explicit RunningBox(const std::string& root, const std::string& scenario = "") : box_({.root = root})
    {
        std::istringstream text(scenario);
        emu::schedule_scenario(box_, emu::read_scenario(text, "scenario"), [](bool, const std::string&) {});
        thread_ = std::thread([this] { server_.run(stop_); });
    }
    ~RunningBox()
    {
        const uint64_t one = 1;
        EXPECT_EQ(write(stop_, &one, sizeof one), 8);
        thread_.join();
        close(stop_);
    }
    RunningBox(const RunningBox&) = delete;
    RunningBox& operator=(const RunningBox&) = delete;

    std::string folder() const { return box_.root().path(); }
    std::string socket() const { return folder() + emu::SOCKET_IN_ROOT; }

private:
    int stop_ = eventfd(0, EFD_CLOEXEC);
    emu::Box box_;
    emu::Server server_{box_, socket()};
    std::thread thread_;
};

/** A box of its own for each test; $CAPD_BOX leads there. */
class BoxServer {
public:
    explicit BoxServer(const std::string& scenario = "") : box_(scratch_.path(), scenario)
    {
        setenv("CAPD_BOX", box_.socket().c_str(), 1);
    }

    std::string folder() const { return box_.folder(); }
    std::string socket() const { return box_.socket(); }

private:
    emu::ScratchFolder scratch_{"client"};
    RunningBox box_;
};

/** What "boxemu ctl" does. */
inline emu::Message tell(const std::string& socket, std::string_view line)
{
    emu::Message reply;
    const int box = emu::connect_to_box(socket);
    EXPECT_GE(box, 0);
    EXPECT_TRUE(emu::send_message(box, {.ask = emu::Ask::Command}, emu::as_bytes(line)));
    EXPECT_TRUE(emu::receive_message(box, reply));
    close(box);
    return reply;
}
