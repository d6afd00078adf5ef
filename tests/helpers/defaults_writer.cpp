// Writes to one preferences suite from its own process, for the test of several processes
// sharing a suite. Usage: tarvo_defaults_writer SUITE NAME COUNT GO_FILE
// Waits until GO_FILE exists (so that all writers start together), then writes COUNT keys of
// its own ("NAME.i" = i) and as many to keys every writer shares ("overlap.(i % 50)" =
// "NAME:i"), reading its own key back after each write. Exits 1 when a read-back fails.
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>
#include <thread>

#include "tarvo/platform/UserDefaults.h"

int main(int argc, char** argv) {
    if (argc != 5) {
        std::fprintf(stderr, "usage: %s SUITE NAME COUNT GO_FILE\n", argv[0]);
        return 2;
    }
    const std::string name = argv[2];
    const int count = std::stoi(argv[3]);
    tarvo::UserDefaults store{std::filesystem::path(argv[1])};
    if (!store.isPersistent()) return 1;

    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!std::filesystem::exists(argv[4])) {
        if (std::chrono::steady_clock::now() > deadline) return 3;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }

    for (int i = 0; i < count; ++i) {
        const std::string own = name + "." + std::to_string(i);
        store.setInteger(own, i);
        store.setString("overlap." + std::to_string(i % 50), name + ":" + std::to_string(i));
        if (store.integerForKey(own) != i) {
            std::fprintf(stderr, "%s: read back %s wrong\n", name.c_str(), own.c_str());
            return 1;
        }
    }
    return store.synchronize() ? 0 : 1;
}
