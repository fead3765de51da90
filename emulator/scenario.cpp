#include "emulator/scenario.h"

#include "emulator/base/host_files.h"
#include "emulator/base/scratch_folder.h"
#include "emulator/box.h"

#include <cmath>
#include <cstdlib>
#include <sstream>
#include <stdexcept>

namespace emu {

namespace {

constexpr double LATEST = 1e9; // seconds; about thirty years

Micros read_time(const std::string& word, const std::string& place, Micros earliest)
{
    char* end = nullptr;
    const double seconds = std::strtod(word.c_str(), &end);
    if (*end != '\0' || !std::isfinite(seconds) || seconds < 0 || seconds > LATEST)
        throw std::runtime_error(place + ": '" + word + "' is not a time in seconds");
    const auto time = static_cast<Micros>(std::llround(seconds * 1e6));
    if (time < earliest) throw std::runtime_error(place + ": '" + word + "' is earlier than the line before");
    return time;
}

} // namespace

std::vector<ScenarioStep> load_scenario(const std::string& file)
{
    constexpr size_t limit = size_t{1} << 20;
    try {
        std::istringstream text(read_host_stream(file, limit));
        return read_scenario(text, file);
    } catch (const HostFileError& error) {
        throw std::runtime_error(file + ": " + error.what());
    }
}

std::vector<ScenarioStep> read_scenario(std::istream& text, const std::string& file)
{
    constexpr const char* blanks = " \t\r";
    std::vector<ScenarioStep> steps;
    int number = 0;
    for (std::string line; std::getline(text, line);) {
        const std::string place = file + ":" + std::to_string(++number);
        const size_t from = line.find_first_not_of(blanks);
        if (from == std::string::npos || line[from] == '#') continue;
        const size_t to = line.find_first_of(blanks, from);
        const Micros time = read_time(line.substr(from, to - from), place, steps.empty() ? 0 : steps.back().time);
        const size_t command = to == std::string::npos ? to : line.find_first_not_of(blanks, to);
        if (command == std::string::npos) throw std::runtime_error(place + ": a command is missing");
        steps.push_back({time, line.substr(command), place});
    }
    return steps;
}

void check_scenario(const std::vector<ScenarioStep>& steps)
{
    const ScratchFolder folder("scenario");
    Box box({.root = folder.path() + "/root"});
    for (const ScenarioStep& step : steps) {
        if (box.switched_off()) throw std::runtime_error(step.place + ": the box is off since \"quit\"");
        box.time().advance_to(step.time);
        const Reply reply = box.command(step.command, {.folder = {}, .rehearsal = true, .listener = nullptr});
        if (!reply.ok && reply.kind != Reply::Kind::NotNow) throw std::runtime_error(step.place + ": " + reply.text);
    }
}

void schedule_scenario(Box& box, const std::vector<ScenarioStep>& steps,
                       const std::function<void(bool ok, const std::string& text)>& answer)
{
    for (const ScenarioStep& step : steps) {
        const Micros delay = step.time > box.time().now() ? step.time - box.time().now() : 0;
        box.time().after(delay, [&box, step, answer] {
            const auto listener = std::make_shared<Listener>();
            listener->take = [answer, place = step.place](const Reply& reply) {
                answer(reply.ok, reply.ok ? reply.text : place + ": " + reply.text);
            };
            listener->take(box.command(step.command, {.folder = {}, .rehearsal = false, .listener = listener}));
        });
    }
}

} // namespace emu
