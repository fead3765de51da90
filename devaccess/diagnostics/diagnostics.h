/**
 * @file
 * Diagnostic commands: each member of the do_ family issues one request of the capture driver and prints what came
 * back, in lines that begin with its own name. For the bench; the daemon itself calls none of them.
 *
 * One caller at a time, any thread; no lock is taken and nothing is retried. A call blocks for its request, the memory
 * tests and do_dumpmem() for one request per word or per 256 bytes.
 *
 * Unless said otherwise a member returns its request's result: 0 or above done; -1 refused, with errno set (EBADF when
 * there is no video node). An optional last parameter receives what was read, on success only.
 */
#pragma once

#include <cstdint>

namespace capd {

constexpr uint32_t MEMORY_REQUEST_WORDS = 64; ///< words that one memory request carries

constexpr int VIDEO_PROPERTIES = 26;          ///< ids 1 to 26 can be read
constexpr int SETTABLE_VIDEO_PROPERTIES = 15; ///< ids 1 to 15 can be set; the rest are ranges

/** A video property as the driver gives it. */
struct VideoProperty {
    int32_t id;
    int32_t value;
    int32_t minimum;
    int32_t maximum;
};
static_assert(sizeof(VideoProperty) == 16);

/** Read whether a codec failed. */
int do_checkcodecerror(int* value = nullptr);

/** Set the debug level of one of the driver's functions; 16 bits each. */
int do_setdriverdbglevel(int func, int val);

/** Read the debug level of one of the driver's functions. */
int do_getdriverdbglevel(int func, int* value = nullptr);

/** Read the version of the driver's interface. */
int do_getapiversion(int* value = nullptr);

/** Read the driver's version. */
int do_getdriverversion(int* value = nullptr);

/** Read or select the video source. */
int do_getvideosource(int* value = nullptr);
int do_setvideosource(int value);

/** Read or select the video front end. */
int do_getvideofrontend(int* value = nullptr);
int do_setvideofrontend(int value);

/** Name of a video property, "UnKnown" for an id other than 1 to VIDEO_PROPERTIES. */
const char* video_property_name(int id);

/** Read a video property or a property's range; the driver, not this call, refuses an unknown id. */
int do_getvideoprop(int id, VideoProperty* out = nullptr);

/** Set a video property. */
int do_setvideoprop(int id, int value);

/** List the properties that can be read or set, a line each. */
void getvidprop_help();
void setvidprop_help();

/** Make a GPIO an output and drive it: low for level 0, else high. @return the second request's result */
int do_setgpio(int gpio, int level);

/** Write one I2C register, in a single attempt. @param dev 7-bit address */
int do_wri2c(int dev, int reg, int val);

/**
 * Read one I2C register, in a single attempt.
 * @param dev    7-bit address
 * @param result receives the request's result, which the returned byte does not tell
 * @return the byte; 0 when the request failed
 */
int do_rdi2c(int dev, int reg, int* result = nullptr);

/** Write or read a register of the video chip. */
int do_wrreg(uint32_t reg, uint32_t val);
int do_rdreg(uint32_t reg, uint32_t* value = nullptr);

/**
 * Write words to the memory behind the node, after showing them.
 * @param count at most MEMORY_REQUEST_WORDS, else -1 with errno EINVAL and nothing sent; 0 sends nothing
 */
int do_wrmem(uint32_t addr, uint32_t count, const uint32_t* words);

/**
 * Read the memory behind the node and show it.
 * @param size  bytes, in whole words of 4, at most MEMORY_REQUEST_WORDS of them; else -1 with errno EINVAL
 * @param words room for size / 4 words
 */
int do_rdmem(uint32_t addr, uint32_t size, uint32_t* words = nullptr);

/**
 * Write the memory behind the node to "./dumpdata.dat", rounded up to whole words.
 * @return the last request's result, the first failed one ends the dump; -1 with errno when the file cannot be written
 */
int do_dumpmem(uint32_t addr, uint32_t size);

/**
 * Send words by DMA, after showing them.
 * @param count words, below 2^30, else -1 with errno EINVAL and nothing sent; 0 sends nothing
 */
int do_dmawr(uint32_t addr, uint32_t count, const uint32_t* buffer);

/**
 * Receive by DMA into memory of its own and show it.
 * @param size  bytes; the whole words among them are shown
 * @param words room for size / 4 words
 * @return the request's result; 0, with errno ENOMEM and words untouched, when there is not so much memory
 */
int do_dmard(uint32_t addr, uint32_t size, uint32_t* words = nullptr);

/** How a memory test goes, for callers that need more than its result: a failing address may be 0, like success. */
struct MemoryTestReport {
    void (*progress)(void* context, uint32_t done, uint32_t steps) = nullptr; ///< called by the device test's steps
    void* context = nullptr;
    bool passed = false;
    int error = 0;           ///< errno of the transfer that was refused; 0 when the memory gave back something else
    uint32_t refused_at = 0; ///< address of that transfer
};

/**
 * Walk a one through all data lines at an address. A refused request counts as a mismatch, in all three tests.
 * @return 0 passed, or the first pattern that was not read back
 */
uint32_t memTestDataBus(uint32_t addr, MemoryTestReport* report = nullptr);

/**
 * Test the address lines of a range by its power-of-two word offsets.
 * @param base address
 * @param size bytes; what is not a whole word at the end is left alone, a range without one word passes untouched
 * @return 0 passed, or the failing address
 */
uint32_t memTestAddressBus(uint32_t base, uint32_t size, MemoryTestReport* report = nullptr);

/** Test every word of a range with two patterns. Arguments and results as of memTestAddressBus(). */
uint32_t memTestDevice(uint32_t base, uint32_t size, MemoryTestReport* report = nullptr);

} // namespace capd
