// Diagnostic commands on the memory behind the video node: direct access, dump to a file, DMA.
#include "devaccess/diagnostics/answer.h"
#include "devaccess/diagnostics/diagnostics.h"
#include "devaccess/diagnostics/memory_request.h"

#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace capd {

namespace {

constexpr char DUMP_FILE[] = "./dumpdata.dat";
constexpr uint32_t WORD_SIZE = 4;
constexpr uint32_t CHUNK_SIZE = MEMORY_REQUEST_WORDS * WORD_SIZE;
constexpr uint32_t WORDS_PER_LINE = 4;
constexpr uint32_t MAX_DMA_WORDS = UINT32_MAX / WORD_SIZE;

/** The record holds a pointer of the machine that runs; the codes are always those of the 32-bit box. */
struct DmaRequest {
    uint32_t address;
    uint32_t size; ///< bytes
    const void* buffer;
};
static_assert(sizeof(void*) != 4 || sizeof(DmaRequest) == 12);
constexpr uint32_t DMA_READ = read_write_request('D', 17, 12);
constexpr uint32_t DMA_WRITE = write_request('D', 18, 12);

void dump_words(uint32_t address, const uint32_t* words, uint32_t count)
{
    for (uint32_t k = 0; k < count; ++k) {
        if (k % WORDS_PER_LINE == 0) printf("\n%08X: ", address + WORD_SIZE * k);
        printf("%08X ", words[k]);
    }
    printf("\n\n");
}

void print_memory_line(const char* function, uint32_t address, uint32_t words)
{
    printf("\n%s()-> mem addr=0x%x, size=0x%x\n", function, address, words);
}

void print_dma_line(const char* function, const DmaRequest& request)
{
    const unsigned long buffer = reinterpret_cast<uintptr_t>(request.buffer);
    printf("\n%s()-> mem addr=0x%x, size=0x%x, buff=0x%lx\n", function, request.address, request.size, buffer);
}

Answer read_words(MemoryRequest& request, uint32_t address, uint32_t count)
{
    request = {};
    request.address = address;
    request.count = count;
    return ask(READ_MEMORY, &request);
}

Answer write_file(int fd, const void* data, size_t size)
{
    errno = 0;
    const ssize_t written = write(fd, data, size);
    if (written == static_cast<ssize_t>(size)) return NOTHING_SENT;
    return {-1, errno != 0 ? errno : ENOSPC};
}

/** Copy the memory into an open file, until the first failure. 64 bits: a range may end at the top of the space. */
Answer dump_to_file(int fd, uint32_t addr, uint32_t size)
{
    MemoryRequest request;
    Answer answer = NOTHING_SENT;
    for (uint64_t done = 0; done < size && answer.ok(); done += CHUNK_SIZE) {
        const uint64_t left = size - done;
        const uint32_t count =
            left >= CHUNK_SIZE ? MEMORY_REQUEST_WORDS : static_cast<uint32_t>((left + WORD_SIZE - 1) / WORD_SIZE);
        answer = read_words(request, addr + static_cast<uint32_t>(done), count);
        if (!answer.ok()) break;
        const Answer written = write_file(fd, request.words, count * WORD_SIZE);
        if (!written.ok()) answer = written;
    }
    return answer;
}

/** Issue a request that carries words, unless there are none. */
Answer send_words(uint32_t request_code, void* record, uint32_t count)
{
    return count == 0 ? NOTHING_SENT : ask(request_code, record);
}

} // namespace

int do_wrmem(uint32_t addr, uint32_t count, const uint32_t* words)
{
    if (count > MEMORY_REQUEST_WORDS) return finish(__func__, REFUSED);
    MemoryRequest request{};
    request.address = addr;
    request.count = count;
    if (count != 0) memcpy(request.words, words, count * WORD_SIZE);
    print_memory_line(__func__, addr, count);
    dump_words(addr, request.words, count);
    return finish(__func__, send_words(WRITE_MEMORY, &request, count));
}

int do_rdmem(uint32_t addr, uint32_t size, uint32_t* words)
{
    const uint32_t count = size / WORD_SIZE;
    if (count > MEMORY_REQUEST_WORDS) return finish(__func__, REFUSED);
    print_memory_line(__func__, addr, count);
    MemoryRequest request;
    const Answer answer = read_words(request, addr, count);
    if (answer.ok()) {
        dump_words(addr, request.words, count);
        if (words != nullptr) memcpy(words, request.words, count * WORD_SIZE);
    }
    return finish(__func__, answer);
}

int do_dumpmem(uint32_t addr, uint32_t size)
{
    printf("\n%s()-> mem addr=0x%x, size=0x%x dump to %s\n", __func__, addr, size, DUMP_FILE);
    const int fd = open(DUMP_FILE, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (fd < 0) {
        const Answer refused = {-1, errno};
        printf("\n%s()-> can not open output file to %s\n", __func__, DUMP_FILE);
        return finish(__func__, refused);
    }
    Answer answer = dump_to_file(fd, addr, size);
    if (close(fd) != 0 && answer.ok()) answer = {-1, errno};
    return finish(__func__, answer);
}

int do_dmawr(uint32_t addr, uint32_t count, const uint32_t* buffer)
{
    if (count > MAX_DMA_WORDS) return finish(__func__, REFUSED);
    DmaRequest request{addr, count * WORD_SIZE, buffer};
    print_dma_line(__func__, request);
    dump_words(addr, buffer, count);
    return finish(__func__, send_words(DMA_WRITE, &request, count));
}

int do_dmard(uint32_t addr, uint32_t size, uint32_t* words)
{
    auto* buffer = static_cast<uint32_t*>(calloc(1, size));
    if (buffer == nullptr) {
        printf("%s()-> Unable to allocate memory (size=%d) for reading memory \n", __func__, static_cast<int>(size));
        return finish(__func__, {0, ENOMEM});
    }
    DmaRequest request{addr, size, buffer};
    print_dma_line(__func__, request);
    const Answer answer = ask(DMA_READ, &request);
    if (answer.ok()) {
        dump_words(addr, buffer, size / WORD_SIZE);
        if (words != nullptr) memcpy(words, buffer, size / WORD_SIZE * WORD_SIZE);
    }
    free(buffer);
    return finish(__func__, answer);
}

} // namespace capd
