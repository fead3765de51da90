#include "emulator/remote/server/console.h"

namespace emu {

Console::Console(Box& box, std::unique_ptr<LineInput> input) : box_(box), input_(std::move(input))
{
    listen();
}

Console::~Console()
{
    listener_->take = nullptr;
}

/** Begin to listen anew: whoever has the listener of before is not heard any more. */
void Console::listen()
{
    if (listener_) listener_->take = nullptr;
    busy_ = false;
    listener_ = std::make_shared<Listener>();
    listener_->take = [this](const Reply& reply) {
        busy_ = reply.kind == Reply::Kind::More;
        input_->print(reply.text);
        run_next();
    };
}

void Console::read()
{
    input_->read([this](std::string line) { take(std::move(line)); });
    run_next();
}

void Console::take(std::string line)
{
    if (busy_ && input_->interactive()) listen();
    lines_.push_back(std::move(line));
}

void Console::run_next()
{
    while (!busy_ && !lines_.empty() && !box_.switched_off()) {
        const std::string line = std::move(lines_.front());
        lines_.pop_front();
        const Reply reply = box_.command(line, {.folder = {}, .rehearsal = false, .listener = listener_});
        busy_ = reply.kind == Reply::Kind::More;
        input_->print(reply.text);
    }
}

} // namespace emu
