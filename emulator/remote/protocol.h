/**
 * @file
 * What the box's process and its clients say to each other over a Unix stream socket: the client asks, the box answers
 * each question in turn. A message is a header and a payload; both ends run on one machine and share its byte order.
 *
 * The functions block until the other end has taken or given the whole message. Any thread, one at a time per socket.
 */
#pragma once

#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace emu {

/** What a client asks. The payload and the reply's payload are given behind each. */
enum class Ask : uint16_t {
    Root = 1,     ///< the name of the client's program; the path of the box's root folder
    Open,         ///< a device path; nothing, the reply's number is a handle
    Request,      ///< a record, of the size in the request code; the record, if the driver writes it
    RequestValue, ///< an int32_t; nothing
    Close,        ///< nothing; nothing
    Command,      ///< a command line; what the box answers, see command_result
    Folder,       ///< a folder of this machine, where relative file names in this client's commands begin; nothing
};

/**
 * Number of a reply to a command. After GoesOn another reply follows, at the latest after half a second, one without
 * text where there is nothing to say; the client's next question waits for the last of them.
 */
namespace command_result {
constexpr int32_t DONE = 0;
constexpr int32_t GOES_ON = 1;
constexpr int32_t REFUSED = -EINVAL;
constexpr int32_t TOO_LATE = -ETIMEDOUT; ///< what the command waited for did not come
} // namespace command_result

struct MessageHeader {
    static constexpr uint16_t MAGIC = 0x5842;

    uint16_t magic = MAGIC;
    Ask ask = Ask::Root; ///< a reply repeats it
    uint32_t size = 0;   ///< bytes of payload
    int32_t number = 0;  ///< handle; in a reply the result, a negative errno where refused
    uint32_t code = 0;   ///< request code; in the reply to a request, microseconds that its I2C transfers take
};
static_assert(sizeof(MessageHeader) == 16);

/**
 * Longest payload: the largest DMA transfer with its record. DMA requests carry a pointer, which is worth nothing in
 * another process: their payload is instead the record's head, followed by the buffer when memory is written; the
 * reply's is the buffer when memory is read.
 */
constexpr size_t DMA_LIMIT = size_t{1} << 20;
constexpr size_t PAYLOAD_LIMIT = DMA_LIMIT + 64;

/** @return whether a header that came in can be one. */
bool plausible(const MessageHeader& header);

/** A message that came in. */
struct Message {
    MessageHeader header;
    std::vector<uint8_t> payload;

    std::string_view text() const { return {reinterpret_cast<const char*>(payload.data()), payload.size()}; }
};

/** How long a client waits for the other end before it gives up: $CAPD_BOX_TIMEOUT in seconds, else ten of them. */
std::chrono::milliseconds default_patience();

/**
 * Connect to a box.
 * @param patience  for this and, later, for each reply
 * @return a descriptor that children do not inherit, or a negative errno
 */
int connect_to_box(const std::string& socket_path, std::chrono::milliseconds patience = default_patience());

/** Send a message; its size is filled in. @return whether all of it went out */
bool send_message(int socket, MessageHeader header, std::span<const uint8_t> payload);

/**
 * Receive a message.
 * @return false with errno ETIMEDOUT when nothing came in time, ECONNRESET when the other end is gone, EPROTO when it
 *         makes no sense
 */
bool receive_message(int socket, Message& message);

/** Where a box's socket is when nobody says otherwise: $CAPD_BOX, or in the default root. */
std::string default_socket();
constexpr const char* DEFAULT_ROOT = "/tmp/capd-box";
constexpr const char* SOCKET_IN_ROOT = "/run/box.sock";

/** Bytes of a text, to send. */
inline std::span<const uint8_t> as_bytes(std::string_view text)
{
    return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
}

} // namespace emu
