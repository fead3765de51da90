#include "services/message_queue.h"

#include "platform/platform.h"

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <sys/msg.h>

namespace capd {

namespace {

constexpr char MODULE[] = "runner.c"; // the queue's name in its messages
constexpr int32_t QUEUE_KEY = 0x2027;
constexpr size_t MESSAGE_SIZE = 64;

struct Message {
    long type;
    char body[MESSAGE_SIZE];
};

int queue = -1;

} // namespace

int runner_init()
{
    queue = platform::open_queue(QUEUE_KEY);
    if (queue >= 0) return 0;
    const int error = errno;
    printf("%s: Error in creating message queue (keyid=%d)\n", MODULE, QUEUE_KEY);
    return -error;
}

int runner_receive_message(int* type)
{
    Message message;
    if (msgrcv(queue, &message, MESSAGE_SIZE, 0, IPC_NOWAIT) < 0) {
        const int result = -errno;
        if (result != -ENOMSG) printf("%s: msgrcv errno(%d)\n", MODULE, result);
        return result;
    }
    *type = static_cast<int>(message.type);
    printf("%s: msgrcv type(%d)\n", MODULE, *type);
    return 0;
}

} // namespace capd
