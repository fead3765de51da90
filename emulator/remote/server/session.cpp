#include "emulator/remote/server/session.h"

#include "emulator/kernel/request.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sys/socket.h>
#include <unistd.h>

namespace emu {

namespace {

/** A client that leaves so much unread is not listening, and one that asks so much ahead does not wait for answers. */
constexpr size_t UNSENT_LIMIT = 4 * PAYLOAD_LIMIT, UNANSWERED_LIMIT = 4 * PAYLOAD_LIMIT;

} // namespace

Session::Session(Box& box, int socket) : box_(box), socket_(socket), listener_(std::make_shared<Listener>())
{
    ucred peer{};
    socklen_t size = sizeof peer;
    if (::getsockopt(socket_, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0) process_ = peer.pid;
    listener_->take = [this](const Reply& reply) {
        send_reply(reply);
        if (!busy_) take_questions();
        write();
    };
}

Session::~Session()
{
    listener_->take = nullptr;
    for (const int handle : handles_) box_.close(handle);
    ::close(socket_);
}

void Session::read()
{
    uint8_t bytes[65536];
    const ssize_t got = gone_ ? 0 : ::recv(socket_, bytes, sizeof bytes, 0);
    if (got < 0 && (errno == EAGAIN || errno == EINTR)) return;
    gone_ = gone_ || got <= 0;
    if (gone_) return;
    in_.insert(in_.end(), bytes, bytes + got);
    take_questions();
    if (in_.size() > UNANSWERED_LIMIT) gone_ = true;
    write();
}

void Session::take_questions()
{
    Message message;
    size_t used = 0;
    while (!gone_ && !busy_ && in_.size() - used >= sizeof message.header) {
        std::memcpy(&message.header, in_.data() + used, sizeof message.header);
        gone_ = !plausible(message.header);
        if (gone_ || in_.size() - used < sizeof message.header + message.header.size) break;
        const auto* payload = in_.data() + used + sizeof message.header;
        message.payload.assign(payload, payload + message.header.size);
        used += sizeof message.header + message.header.size;
        answer(message);
    }
    in_.erase(in_.begin(), in_.begin() + static_cast<ptrdiff_t>(used));
}

void Session::write()
{
    if (gone_ || out_.empty()) return;
    const ssize_t sent = ::send(socket_, out_.data(), out_.size(), MSG_NOSIGNAL);
    if (sent < 0 && (errno == EAGAIN || errno == EINTR)) return;
    gone_ = sent < 0;
    if (!gone_) out_.erase(out_.begin(), out_.begin() + sent);
}

void Session::answer(const Message& message)
{
    MessageHeader header = message.header;
    std::vector<uint8_t> payload;
    switch (message.header.ask) {
    case Ask::Root:
        program_ = message.text();
        header.number = 0;
        return send(header, as_bytes(box_.root().path()));
    case Ask::Folder:
        folder_ = message.text();
        header.number = 0;
        break;
    case Ask::Open: header.number = open_node(message); break;
    case Ask::Close: header.number = close_node(message.header.number); break;
    case Ask::Command: return send_reply(box_.command(message.text(), {folder_, false, listener_}));
    case Ask::Request:
    case Ask::RequestValue:
        header.number = try_request(message, payload);
        header.code = static_cast<uint32_t>(box_.i2c().take_time());
        break;
    }
    send(header, payload);
}

/** A device whose file cannot be written on this machine fails; the box goes on. */
int32_t Session::try_request(const Message& message, std::vector<uint8_t>& reply)
{
    try {
        return request(message, reply);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "boxemu: a request failed: %s\n", error.what());
        return -EIO;
    }
}

void Session::send(MessageHeader header, std::span<const uint8_t> payload)
{
    if (gone_) return;
    payload = payload.first(std::min(payload.size(), PAYLOAD_LIMIT));
    header.size = static_cast<uint32_t>(payload.size());
    const auto* bytes = reinterpret_cast<const uint8_t*>(&header);
    out_.insert(out_.end(), bytes, bytes + sizeof header);
    out_.insert(out_.end(), payload.begin(), payload.end());
    gone_ = out_.size() > UNSENT_LIMIT;
}

void Session::send_reply(const Reply& reply)
{
    busy_ = reply.kind == Reply::Kind::More;
    int32_t number = reply.ok ? command_result::DONE : command_result::REFUSED;
    if (busy_) number = command_result::GOES_ON;
    if (reply.kind == Reply::Kind::TooLate) number = command_result::TOO_LATE;
    send({.ask = Ask::Command, .number = number}, as_bytes(reply.text));
}

int32_t Session::open_node(const Message& message)
{
    const int handle = box_.open(message.text());
    if (handle > 0) handles_.push_back(handle);
    return handle;
}

int32_t Session::close_node(int handle)
{
    if (std::erase(handles_, handle) == 0) return -EBADF;
    box_.close(handle);
    return 0;
}

/** A request whose payload has not the size that its code states ends the connection: what follows is not to be
 * trusted. */
int32_t Session::request(const Message& message, std::vector<uint8_t>& reply)
{
    const int handle = message.header.number;
    const uint32_t code = message.header.code;
    if (std::find(handles_.begin(), handles_.end(), handle) == handles_.end()) return -EBADF;
    const bool by_value = message.header.ask == Ask::RequestValue;
    if (!by_value && is_dma_request(code)) return dma_request(message, reply);
    int32_t value = 0;
    if (message.payload.size() != (by_value ? sizeof value : record_size(code))) {
        gone_ = true;
        return -EINVAL;
    }
    if (by_value) {
        std::memcpy(&value, message.payload.data(), sizeof value);
        return box_.request_value(handle, code, value);
    }
    reply = message.payload;
    const int result = box_.request(handle, code, reply.data());
    if (!driver_writes(code)) reply.clear();
    return result;
}

int32_t Session::dma_request(const Message& message, std::vector<uint8_t>& reply)
{
    DmaRecord record{};
    const bool reads = driver_writes(message.header.code);
    if (message.payload.size() < DMA_RECORD_HEAD) return -EINVAL;
    std::memcpy(&record, message.payload.data(), DMA_RECORD_HEAD);
    if (record.size > DMA_LIMIT || (!reads && message.payload.size() != DMA_RECORD_HEAD + record.size)) return -EINVAL;
    std::vector<uint8_t> buffer(record.size);
    if (!reads) std::copy(message.payload.begin() + DMA_RECORD_HEAD, message.payload.end(), buffer.begin());
    record.buffer = buffer.data();
    const int result = box_.request(message.header.number, message.header.code, &record);
    if (reads && result >= 0) reply = std::move(buffer);
    return result;
}

} // namespace emu
