/**
 * @file
 * The capture driver behind the /dev/video nodes. Several nodes exist; the one that belongs to the box answers the
 * device-info request with instance 0 and type 0. Requests have exact codes; any other is refused with ENOTTY.
 */
#pragma once

#include "emulator/bus/i2c_bus.h"
#include "emulator/kernel/capture_diagnostics.h"

#include <cstdint>
#include <map>

namespace emu {

class CommandTable;

class CaptureDriver {
public:
    CaptureDriver(I2cBus& bus, const Timeline& time) : bus_(bus), diagnostics_(time) {}

    /** What a node says of itself. */
    struct NodeInfo {
        int32_t bus, instance, type, task;
        int refusal = 0; ///< result of the device-info request instead, negative; 0 answers it
    };

    /** Put a node there, or change it. */
    void set_node(int number, const NodeInfo& info) { nodes_[number] = info; }
    void remove_node(int number) { nodes_.erase(number); }
    bool has_node(int number) const { return nodes_.contains(number); }

    /** Requests as of Box::request(). */
    int request(int node, uint32_t code, void* record);

    /** The driver as its module's loading leaves it; nodes and faults of the hardware stay. */
    void power_on() { diagnostics_.power_on(); }

    CaptureDiagnostics& diagnostics() { return diagnostics_; }

private:
    int device_info(int node, void* record) const;
    int i2c_write(const uint8_t* record);
    int i2c_read(uint8_t* record);

    I2cBus& bus_;
    std::map<int, NodeInfo> nodes_ = {
        {0, {.bus = 0, .instance = 1, .type = 0, .task = 0x100}},
        {1, {.bus = 0, .instance = 0, .type = 2, .task = 0x101}},
        {2, {.bus = 3, .instance = 0, .type = 0, .task = 0x102}},
    };
    CaptureDiagnostics diagnostics_;
};

/** Add "video node|remove|refuse". */
void add_capture_commands(CommandTable& commands, CaptureDriver& capture);

} // namespace emu
