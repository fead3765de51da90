#include "recorder/capd.h"
#include "tests/support/bench.h"

#include <filesystem>
#include <vector>

namespace bench {

Daemon::Daemon(std::initializer_list<const char*> options)
{
    std::filesystem::current_path(box().root().map("/kxbin")); // where the box's start-up script starts it
    static std::vector<std::string> words; // the daemon keeps pointers to them for the life of the process
    words.assign({"capd"});
    words.insert(words.end(), options.begin(), options.end());
    static std::vector<char*> arguments;
    for (std::string& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    emu::inprocess_start([] { capd::run(static_cast<int>(words.size()), arguments.data()); });
}

} // namespace bench
