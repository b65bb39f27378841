// SPDX-License-Identifier: GPL-2.0-only
// A recorder that ends before its time. It writes into a pipe, so that the test sees it grow and
// the moment is one of the recording and not of a clock.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <random>

#include "ovk/source/recording.h"
#include "ovk/tests/running.h"
#include "ovk/tests/scratch.h"

namespace ovk::tests {

namespace {

std::string pipe_in(const scratch &files) {
    const std::string path = files.path("pipe");
    mkfifo(path.c_str(), 0600);
    return path;
}

std::string next_bytes(std::istream &from, std::size_t count) {
    std::string bytes(count, '\0');
    from.read(bytes.data(), static_cast<std::streamsize>(count));
    bytes.resize(static_cast<std::size_t>(from.gcount()));
    return bytes;
}

std::string rest_of(std::istream &from) {
    std::ostringstream text;
    text << from.rdbuf();
    return text.str();
}

std::vector<std::string> texts_of(const std::string &file) {
    recording_reader reader(file);
    std::vector<std::string> found;
    while (const auto each = reader.next()) {
        found.push_back(each->attribute + std::to_string(each->came.start_ns) + each->came.text);
    }
    return found;
}

// Endless, unless with a number of rounds.
std::vector<std::string> recording_to(const std::string &file, const char *rounds = nullptr) {
    std::vector<std::string> words = {"-s",      "sim:zt410", "record",    "-o",      file,
                                      "--every", "0s",        "--reports", "bus,fifo"};
    if (rounds != nullptr) {
        words.insert(words.end(), {"--count", rounds});
    }
    return words;
}

}  // namespace

TEST(killed_recorder, leaves_what_it_had_recorded_at_any_moment) {
    const scratch files;
    ASSERT_EQ(running_program(recording_to(files.path("whole"), "400")).wait(), 0);
    const std::vector<std::string> whole = texts_of(files.path("whole"));
    const std::size_t length = files.content("whole").size();
    const std::size_t head = files.content("whole").find('\n');
    const std::string pipe = pipe_in(files);
    std::mt19937 random(1);

    for (int i = 0; i < 20; ++i) {
        const std::size_t moment = head + 1 + random() % (length / 4);
        running_program recorder(recording_to(pipe));
        std::ifstream from(pipe, std::ios::binary);
        std::string came = next_bytes(from, moment);
        recorder.signal(SIGKILL);
        EXPECT_EQ(recorder.wait(), -SIGKILL);
        came += rest_of(from);

        const auto replayed = texts_of(files.put("came", came));
        EXPECT_EQ(std::count(came.begin(), came.end(), '\n'), long(replayed.size() + 1));
        ASSERT_LE(replayed.size(), whole.size());
        EXPECT_TRUE(std::equal(replayed.begin(), replayed.end(), whole.begin())) << moment;
    }
}

TEST(interrupted_recorder, ends_with_status_130_and_a_whole_file) {
    const scratch files;
    const std::string pipe = pipe_in(files);

    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        running_program recorder(recording_to(pipe));
        std::ifstream from(pipe, std::ios::binary);
        std::string came = next_bytes(from, 20'000);
        recorder.signal(signal);
        came += rest_of(from);
        EXPECT_EQ(recorder.wait(), 130) << signal;
        EXPECT_EQ(came.back(), '\n') << signal;
        EXPECT_GT(texts_of(files.put("came", came)).size(), 2u);
    }
}

// It waits for the next round, on the clock of a machine.
TEST(interrupted_recorder, does_not_wait_for_the_next_round) {
    const scratch files;
    const std::string pipe = pipe_in(files);
    files.put("bw_total", "a report\n");

    for (const std::string &source : {"sysfs:" + files.path(), std::string("exec:sh")}) {
        setenv("OVK_DIRECTORY", files.path().c_str(), 1);
        running_program recorder({"-s", source, "record", "-o", pipe, "--every", "1h"});
        std::ifstream from(pipe, std::ios::binary);
        std::string line;
        ASSERT_TRUE(std::getline(from, line) && std::getline(from, line)) << source;
        EXPECT_NE(line.find("a report"), std::string::npos) << line;
        recorder.signal(SIGINT);
        EXPECT_EQ(recorder.wait(), 130) << source;
        EXPECT_EQ(rest_of(from), "") << source;
    }
    unsetenv("OVK_DIRECTORY");
}

}  // namespace ovk::tests
