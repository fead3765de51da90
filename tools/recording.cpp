#include "tools/recording.h"

#include "platform/platform.h"

#include <cctype>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <functional>
#include <memory>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace boxtool {

namespace {

constexpr char ENCODERS[] = "/kxbin";
constexpr char SCRIPT[] = "/enc.sh"; // in there, run as enc.sh CONFIGURATION RECORDING
constexpr char CARD[] = "/mnt/sddisk";
constexpr std::string_view RECORDING_ENDS = ".mp4";

/** This machine's path of a path of the box. */
std::string mapped(const char* box_path)
{
    char buffer[capd::platform::PATH_SIZE];
    return capd::platform::map_path(box_path, buffer);
}

/** What stands for a path of the box, as the kernel names it. */
std::string real_path(const char* box_path)
{
    char real[PATH_MAX];
    return realpath(mapped(box_path).c_str(), real) != nullptr ? real : box_path;
}

/** Go through the numbers in a folder of /proc, processes or descriptors, until one gives a text. */
std::string find_number(const std::string& folder, const std::function<std::string(const std::string&)>& look)
{
    const auto close = [](DIR* dir) { closedir(dir); };
    const std::unique_ptr<DIR, decltype(close)> dir(opendir(folder.c_str()), close);
    if (dir == nullptr) return "";
    while (const dirent* entry = readdir(dir.get())) {
        if (std::isdigit(static_cast<unsigned char>(entry->d_name[0])) == 0) continue;
        std::string found = look(folder + "/" + entry->d_name);
        if (!found.empty()) return found;
    }
    return "";
}

std::vector<std::string> arguments_of(const std::string& process)
{
    std::vector<std::string> arguments;
    FILE* file = std::fopen((process + "/cmdline").c_str(), "re");
    if (file == nullptr) return arguments;
    std::string word;
    for (int c = std::fgetc(file); c != EOF; c = std::fgetc(file)) {
        if (c != 0) {
            word += static_cast<char>(c);
            continue;
        }
        arguments.push_back(std::move(word));
        word.clear();
    }
    std::fclose(file);
    return arguments;
}

/** The last argument of a process that runs the encoder script, itself or by its interpreter. */
std::string recording_of_script(const std::string& process, const std::string& script)
{
    const std::vector<std::string> arguments = arguments_of(process);
    if (arguments.size() < 3) return "";
    return arguments[arguments.size() - 3] == script ? arguments.back() : "";
}

/** What a descriptor has open, when that is a recording and it may be written. */
std::string recording_of_descriptor(const std::string& descriptor, const std::string& card)
{
    char target[PATH_MAX];
    struct stat status {};
    const ssize_t length = readlink(descriptor.c_str(), target, sizeof(target));
    if (length <= 0 || lstat(descriptor.c_str(), &status) != 0 || (status.st_mode & S_IWUSR) == 0) return "";
    const std::string_view path(target, static_cast<size_t>(length));
    return path.starts_with(card + "/") && path.ends_with(RECORDING_ENDS) ? std::string(path) : "";
}

} // namespace

std::string running_recording()
{
    // Only whoever is about to start the script asks for its own path: the emulated box then waits for it to run.
    const std::string script = mapped(ENCODERS) + SCRIPT, card = real_path(CARD);
    return find_number("/proc", [&](const std::string& process) {
        std::string recording = recording_of_script(process, script);
        if (!recording.empty()) return recording;
        return find_number(process + "/fd",
                           [&](const std::string& descriptor) { return recording_of_descriptor(descriptor, card); });
    });
}

} // namespace boxtool
