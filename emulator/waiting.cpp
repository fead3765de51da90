#include "emulator/waiting.h"

#include "emulator/conditions.h"
#include "emulator/hardware.h"

#include <cstdio>

namespace emu {

namespace {

constexpr Micros LOOK_INTERVAL = 50'000;
constexpr Micros SIGN_OF_LIFE = 500'000; // whoever waits for an answer hears of the box so often
constexpr double USUAL_PATIENCE = 10, LONGEST_PATIENCE = 86'400; // seconds

/** A command that has not given its last answer. */
class Pending : public std::enable_shared_from_this<Pending> {
public:
    Pending(Hardware& box, const Args& args) : box_(box), line_(args.line()), listener_(args.caller().listener) {}
    virtual ~Pending() = default;
    Pending(const Pending&) = delete;
    Pending& operator=(const Pending&) = delete;

    /** Look from now on until the answer is the last one, or nobody listens. */
    void look_later()
    {
        box_.time().after(LOOK_INTERVAL, [self = shared_from_this()] { self->look_now(); });
    }

protected:
    Hardware& box() { return box_; }
    const std::string& line() const { return line_; }
    /** What is to be said now; a reply of kind More without text is said only now and then. */
    virtual Reply look() = 0;

private:
    void look_now()
    {
        const auto take = listener_->take; // which may end with the answer
        if (!take) return;
        Reply reply;
        try {
            reply = look();
        } catch (const std::exception& error) {
            reply = {false, line_ + ": " + error.what()};
        }
        if (reply.kind == Reply::Kind::More) look_later();
        const bool silent = reply.kind == Reply::Kind::More && reply.text.empty();
        if (silent && box_.time().now() - heard_ < SIGN_OF_LIFE) return;
        heard_ = box_.time().now();
        take(reply);
    }

    Hardware& box_;
    std::string line_;
    std::shared_ptr<Listener> listener_;
    Micros heard_ = 0;
};

class Wait : public Pending {
public:
    Wait(Hardware& box, const Args& args, Condition condition, double seconds)
        : Pending(box, args), condition_(std::move(condition)), seconds_(seconds),
          deadline_(box.time().now() + static_cast<Micros>(seconds * 1e6))
    {
    }

    Reply look() override
    {
        if (condition_.holds()) return {};
        if (box().time().now() < deadline_) return {true, "", Reply::Kind::More};
        char within[40];
        std::snprintf(within, sizeof within, " within %g s; now: ", seconds_);
        return {false, line() + ": expected " + condition_.expected + within + condition_.now(), Reply::Kind::TooLate};
    }

private:
    Condition condition_;
    double seconds_;
    Micros deadline_;
};

class Watch : public Pending {
public:
    Watch(Hardware& box, const Args& args) : Pending(box, args), sights_(sights(box))
    {
        for (const Sight& sight : sights_) seen_.push_back(sight.look());
    }

    Reply look() override
    {
        std::string text;
        char time[40];
        std::snprintf(time, sizeof time, "%10.3f s  ", static_cast<double>(box().time().now()) / 1e6);
        for (size_t i = 0; i < sights_.size(); ++i) {
            const std::string now = sights_[i].look();
            if (now == seen_[i]) continue;
            text += time + sights_[i].name + ": " + now + "\n";
            seen_[i] = now;
        }
        return {true, text, Reply::Kind::More};
    }

private:
    std::vector<Sight> sights_;
    std::vector<std::string> seen_;
};

/** Give the first answer of a command, and the others later. */
Reply begin(const std::shared_ptr<Pending>& pending, const Args& args)
{
    if (!args.caller().listener) throw CommandError("nobody is there to take its answer later");
    pending->look_later();
    return {true, "", Reply::Kind::More};
}

Reply wait_command(Hardware& box, Args& args)
{
    Condition condition = take_condition(box, args);
    const double seconds = args.more() ? args.fraction("seconds", 0, LONGEST_PATIENCE) : USUAL_PATIENCE;
    args.end();
    if (args.caller().rehearsal) return {};
    const auto wait = std::make_shared<Wait>(box, args, std::move(condition), seconds);
    const Reply first = wait->look();
    return first.kind == Reply::Kind::More ? begin(wait, args) : first;
}

Reply watch_command(Hardware& box, Args& args)
{
    args.end();
    if (args.caller().rehearsal) return {};
    return begin(std::make_shared<Watch>(box, args), args);
}

} // namespace

void add_waiting_commands(CommandTable& commands, Hardware& box)
{
    commands.add("wait", CONDITION_USAGE, [&box](Args& args) { return wait_command(box, args); });
    commands.add("watch", "  print a line whenever something changes that can be seen, until interrupted",
                 [&box](Args& args) { return watch_command(box, args); });
}

} // namespace emu
