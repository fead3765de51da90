/**
 * @file
 * Tells the address sanitizer, where there is one, that a thread changes its stack. It cleans up behind an exception on
 * the stack that it knows of, and would take what was left of frames on another one for errors.
 */
#pragma once

#include <cstddef>

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define EMU_ADDRESS_SANITIZER
#endif
#elif defined(__SANITIZE_ADDRESS__)
#define EMU_ADDRESS_SANITIZER
#endif

#ifdef EMU_ADDRESS_SANITIZER
#include <sanitizer/common_interface_defs.h>
#endif

namespace emu {

/** From here on the caller's frames stand still; the next ones are on this stack. */
inline void leave_stack([[maybe_unused]] const void* next, [[maybe_unused]] size_t size, [[maybe_unused]] void** left)
{
#ifdef EMU_ADDRESS_SANITIZER
    __sanitizer_start_switch_fiber(left, next, size);
#endif
}

/** The caller runs (again) on the stack that it left, or for the first time, with null, on a new one. */
inline void enter_stack([[maybe_unused]] void* left)
{
#ifdef EMU_ADDRESS_SANITIZER
    __sanitizer_finish_switch_fiber(left, nullptr, nullptr);
#endif
}

} // namespace emu
