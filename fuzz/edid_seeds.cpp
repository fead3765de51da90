/**
 * @file
 * Writes the emulator's EDIDs as seed files into a folder, which is made when it is missing: edid_seeds FOLDER
 */
#include "emulator/world/edids.h"

#include <cstdio>
#include <filesystem>

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: edid_seeds FOLDER\n");
        return 2;
    }
    const std::filesystem::path folder(argv[1]);
    std::filesystem::create_directories(folder);
    for (const emu::ShippedEdid& edid : emu::shipped_edids()) emu::save_edid(edid.image, folder / (edid.name + ".bin"));
    return 0;
}
