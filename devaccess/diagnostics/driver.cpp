// Diagnostic commands on the driver itself: versions, debug levels, source, front end, GPIO, I2C and chip registers.
#include "devaccess/diagnostics/answer.h"
#include "devaccess/diagnostics/diagnostics.h"
#include "devaccess/i2c_request.h"
#include "devaccess/request_code.h"

namespace capd {

namespace {

constexpr uint32_t CHECK_CODEC_ERROR = read_write_request('C', 180, 4);
constexpr uint32_t SET_DEBUG_LEVEL = write_request('D', 42, 4);
constexpr uint32_t GET_DEBUG_LEVEL = read_write_request('D', 43, 4);
constexpr uint32_t GET_API_VERSION = read_write_request('S', 11, 4);
constexpr uint32_t GET_DRIVER_VERSION = read_write_request('S', 10, 4);
constexpr uint32_t GET_VIDEO_SOURCE = read_write_request('D', 34, 4);
constexpr uint32_t SET_VIDEO_SOURCE = write_request('D', 33, 4);
constexpr uint32_t GET_VIDEO_FRONTEND = read_write_request('D', 40, 4);
constexpr uint32_t SET_VIDEO_FRONTEND = write_request('D', 25, 4);
constexpr uint32_t SET_GPIO_DIRECTION = write_request('C', 60, 5);
constexpr uint32_t SET_GPIO_LEVEL = write_request('C', 61, 5);
constexpr uint32_t WRITE_REGISTER = write_request('D', 6, 8);
constexpr uint32_t READ_REGISTER = read_write_request('D', 5, 8);

constexpr uint32_t UNREAD = 0xDEADBEEF; // shows up where the driver left the value alone

struct GpioRequest {
    uint8_t gpio;
    uint8_t value; ///< of the direction: 1 output; of the level: 0 or 1
    uint8_t zero[3];
};
static_assert(sizeof(GpioRequest) == 5);

struct RegisterRequest {
    uint32_t reg;
    uint32_t value;
};
static_assert(sizeof(RegisterRequest) == 8);

/** Ask for one word; it reads 0 where the driver does not fill it. */
Answer ask_word(uint32_t request, int32_t& word, int* value)
{
    word = 0;
    const Answer answer = ask(request, &word);
    if (answer.ok() && value != nullptr) *value = word;
    return answer;
}

int get_value(const char* function, uint32_t request, int* value)
{
    int32_t word;
    const Answer answer = ask_word(request, word, value);
    printf("%s()-> ret val=%d\n", function, word);
    return finish(function, answer);
}

int get_version(const char* function, uint32_t request, int* value)
{
    int32_t word;
    const Answer answer = ask_word(request, word, value);
    printf("%s()-> ret val=0x%x\n", function, static_cast<unsigned int>(word));
    return finish(function, answer);
}

uint32_t debug_word(int func, int level)
{
    return (static_cast<uint32_t>(func) << 16) | (static_cast<uint32_t>(level) & 0xFFFF);
}

void print_debug_word(const char* function, uint32_t word)
{
    printf("%s()-> ret func=%d  val=%d \n", function, static_cast<int>(word >> 16), static_cast<int>(word & 0xFFFF));
}

void print_i2c(const char* function, unsigned int dev, unsigned int reg, unsigned int val)
{
    printf("%s()-> i2c dev=%02x, reg=%02x, val=%02x \n", function, dev, reg, val);
}

void print_register(const char* function, const RegisterRequest& request)
{
    printf("\n%s()-> reg 0x%08x, Val = 0x%08x\n", function, request.reg, request.value);
}

} // namespace

int do_checkcodecerror(int* value)
{
    return get_value(__func__, CHECK_CODEC_ERROR, value);
}

int do_setdriverdbglevel(int func, int val)
{
    uint32_t word = debug_word(func, val);
    const Answer answer = ask(SET_DEBUG_LEVEL, &word);
    print_debug_word(__func__, word);
    return finish(__func__, answer);
}

int do_getdriverdbglevel(int func, int* value)
{
    uint32_t word = debug_word(func, 0);
    const Answer answer = ask(GET_DEBUG_LEVEL, &word);
    if (answer.ok() && value != nullptr) *value = static_cast<int>(word & 0xFFFF);
    print_debug_word(__func__, word);
    return finish(__func__, answer);
}

int do_getapiversion(int* value)
{
    return get_version(__func__, GET_API_VERSION, value);
}

int do_getdriverversion(int* value)
{
    return get_version(__func__, GET_DRIVER_VERSION, value);
}

int do_getvideosource(int* value)
{
    return get_value(__func__, GET_VIDEO_SOURCE, value);
}

int do_setvideosource(int value)
{
    int32_t word = value;
    const Answer answer = ask(SET_VIDEO_SOURCE, &word);
    printf("%s()-> val=%d \n", __func__, value);
    return finish(__func__, answer);
}

int do_getvideofrontend(int* value)
{
    return get_value(__func__, GET_VIDEO_FRONTEND, value);
}

int do_setvideofrontend(int value)
{
    int32_t word = value;
    const Answer answer = ask(SET_VIDEO_FRONTEND, &word);
    printf("%s()-> val=%d\n", __func__, value);
    return finish(__func__, answer);
}

int do_setgpio(int gpio, int level)
{
    GpioRequest direction{static_cast<uint8_t>(gpio), 1, {}};
    ask(SET_GPIO_DIRECTION, &direction);
    GpioRequest drive{static_cast<uint8_t>(gpio), static_cast<uint8_t>(level != 0 ? 1 : 0), {}};
    return finish(__func__, ask(SET_GPIO_LEVEL, &drive));
}

int do_wri2c(int dev, int reg, int val)
{
    I2cWriteRecord record{static_cast<uint8_t>(dev), 2, {static_cast<uint8_t>(reg), static_cast<uint8_t>(val)}};
    const Answer answer = ask(I2C_WRITE_FIRST, &record);
    print_i2c(__func__, record.device, record.bytes[0], record.bytes[1]);
    return finish(__func__, answer);
}

int do_rdi2c(int dev, int reg, int* result)
{
    I2cReadRecord record{static_cast<uint8_t>(dev), 1, {static_cast<uint8_t>(reg)}, 1, {}};
    const Answer answer = ask(I2C_READ_FIRST, &record);
    const int byte = answer.ok() ? record.bytes[0] : 0;
    print_i2c(__func__, record.device, record.address[0], static_cast<unsigned int>(byte));
    finish(__func__, answer);
    if (result != nullptr) *result = answer.result;
    return byte;
}

int do_wrreg(uint32_t reg, uint32_t val)
{
    RegisterRequest request{reg, val};
    const Answer answer = ask(WRITE_REGISTER, &request);
    if (answer.ok()) print_register(__func__, request);
    return finish(__func__, answer);
}

int do_rdreg(uint32_t reg, uint32_t* value)
{
    RegisterRequest request{reg, UNREAD};
    const Answer answer = ask(READ_REGISTER, &request);
    if (answer.ok()) {
        print_register(__func__, request);
        if (value != nullptr) *value = request.value;
    }
    return finish(__func__, answer);
}

} // namespace capd
