/**
 * @file
 * What recordings are called on the card: number and part with five digits each. The number that the next new recording
 * takes is kept in a file beside them, so that it goes with the card.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace capd {

constexpr char CARD_FOLDER[] = "/mnt/sddisk";
constexpr char NUMBER_FILE[] = "/mnt/sddisk/.media_fileno";
constexpr int NUMBER_TEXT_SIZE = 32;
constexpr int FIRST_NUMBER = 1;
constexpr int LAST_NUMBER = 99999;

constexpr int number_before(int number)
{
    return number == FIRST_NUMBER ? LAST_NUMBER : number - 1;
}

/** Only the step past the last number starts again; a larger one that a file brought along counts on. */
constexpr int number_after(int number)
{
    return number == LAST_NUMBER || number == INT32_MAX ? FIRST_NUMBER : number + 1;
}

/** Write a recording's path, at most size - 2 characters of it. */
inline void write_name(char* name, int size, int number, int part)
{
    if (size < 2) return;
    snprintf(name, static_cast<size_t>(size) - 1, "/mnt/sddisk/%.5d.%.5d.mp4", number, part);
}

} // namespace capd
