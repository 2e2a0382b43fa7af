#include "settings/ini.h"
#include "settings/ini_document.h"
#include "support/temp_dir.h"

#include <csignal>
#include <random>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace tess {
namespace {

constexpr int kKeys = 3000;

void WriteGeneration(const std::string& path, int generation) {
    INI ini(path);
    IniBatch batch(ini);
    for (int k = 0; k < kKeys; ++k) {
        ini.SetKey("Section" + std::to_string(k % 50), "Key" + std::to_string(k),
                   "generation " + std::to_string(generation) + " of a fairly long value");
    }
}

// Every key holds the same generation: the file is one whole write, not parts of two.
int GenerationOf(const std::string& text) {
    IniDocument doc;
    doc.Parse(text);
    int seen = -1;
    for (int k = 0; k < kKeys; ++k) {
        auto value = doc.Find("Section" + std::to_string(k % 50), "Key" + std::to_string(k));
        if (!value) return -2;
        int g = std::stoi(std::string(value->substr(11)));
        if (seen >= 0 && g != seen) return -3;
        seen = g;
    }
    return seen;
}

TEST(IniCrash, KillDuringSaveLeavesTheOldOrTheNewFile) {
    test::TempDir dir;
    std::string path = dir.File("canvas.can");
    WriteGeneration(path, 0);
    std::mt19937 random(42);
    int last_seen = 0;
    for (int round = 0; round < 12; ++round) {
        pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            for (int g = last_seen + 1;; ++g)
                WriteGeneration(path, g);
        }
        ::usleep(2000 + random() % 40000);
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);
        int generation = GenerationOf(test::ReadFileBytes(path));
        ASSERT_GE(generation, last_seen) << "round " << round;
        last_seen = generation;
    }
}

} // namespace
} // namespace tess
