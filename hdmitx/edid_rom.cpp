#include "hdmitx/edid_rom.h"

#include <cstdint>
#include <cstdio>

#include "devaccess/board_registers.h"
#include "devaccess/i2c.h"
#include "devaccess/video_device.h"

namespace capd {

namespace {

uint32_t saved_control; // the control register as it was before the current access

int set_control_bits(int bits)
{
    return i2c_write_board(BOARD_CONTROL, i2c_read_board(BOARD_CONTROL) | bits);
}

int disconnect_ports()
{
    return i2c_write_board(BOARD_CONTROL, i2c_read_board(BOARD_CONTROL) & ~BOARD_PORTS);
}

void save_control()
{
    saved_control = static_cast<uint32_t>(i2c_read_board(BOARD_CONTROL));
}

int restore_control()
{
    return i2c_write_board(BOARD_CONTROL, static_cast<int>(saved_control));
}

int prepare_write()
{
    save_control();
    i2c_write_board(BOARD_CONTROL, static_cast<int>(saved_control) | BOARD_ROM_WRITE | BOARD_ROM_ACCESS);
    return disconnect_ports();
}

int prepare_read()
{
    save_control();
    disconnect_ports();
    return set_control_bits(BOARD_ROM_ACCESS);
}

int write_bytes(const unsigned char* buffer, int offset, int length)
{
    for (int i = 0; i < length; ++i) {
        const int result = i2c_write_edidrom(offset + i, buffer[i]);
        if (result == 0) continue;
        printf("### errror writing edid info\n");
        return result;
    }
    return 0;
}

} // namespace

int edidrom_init()
{
    return video_device_open();
}

int edidrom_read(unsigned char* buffer, int offset, int length)
{
    if (prepare_read() == 0) {
        for (int i = 0; i < length; ++i) buffer[i] = static_cast<unsigned char>(i2c_read_edidrom(offset + i));
    }
    return restore_control();
}

int edidrom_write(const unsigned char* buffer, int offset, int length)
{
    int result = prepare_write();
    if (result == 0) result = write_bytes(buffer, offset, length);
    restore_control();
    return result;
}

int edidrom_close()
{
    return 0;
}

} // namespace capd
