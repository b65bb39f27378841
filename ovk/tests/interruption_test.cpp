// SPDX-License-Identifier: GPL-2.0-only
// A recorder that ends before its time. It writes into a pipe, so that the test sees it grow and
// the moment is one of the recording and not of a clock.
#include <sys/stat.h>

#include <algorithm>
#include <random>

#include "ovk/tests/hand_made.h"
#include "ovk/tests/program.h"

namespace ovk::tests {

namespace {

// Endless, unless with a number of rounds.
const std::string endless = "-s sim:zt410 record --every 0s --reports bus,fifo -o ";

class interruption : public testing::Test {
  protected:
    interruption() { mkfifo(pipe.c_str(), 0600); }

    // The first bytes of a recording, and what comes after the signal.
    std::string recorded_until(std::size_t moment, int signal, int status) {
        running_program ovk(endless + pipe);
        std::ifstream from(pipe, std::ios::binary);
        std::string came(moment, '\0');
        from.read(came.data(), static_cast<std::streamsize>(moment));
        ovk.signal(signal);
        came += rest_of(from);
        EXPECT_EQ(ovk.wait(), status) << moment;
        return came;
    }
    static std::string rest_of(std::istream &from) {
        return {std::istreambuf_iterator<char>(from), {}};
    }

    const scratch files;
    const std::string pipe = files.path("pipe");
};

}  // namespace

TEST_F(interruption, leaves_what_it_had_recorded_when_it_is_killed_at_any_moment) {
    ASSERT_EQ(running_program(endless + files.path("whole") + " --count 400").wait(), 0);
    const auto whole = operations_of(files.path("whole"));
    const std::size_t length = files.content("whole").size();
    const std::size_t head = files.content("whole").find('\n');
    std::mt19937 random(1);

    for (int i = 0; i < 20; ++i) {
        const std::string came =
            recorded_until(head + 1 + random() % (length / 4), SIGKILL, -SIGKILL);
        const auto replayed = operations_of(files.put("came", came));
        EXPECT_EQ(std::count(came.begin(), came.end(), '\n'), long(replayed.size() + 1));
        ASSERT_LE(replayed.size(), whole.size());
        EXPECT_TRUE(std::equal(replayed.begin(), replayed.end(), whole.begin())) << came.size();
    }
}

TEST_F(interruption, ends_with_status_130_and_a_whole_file_when_it_is_interrupted) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        const std::string came = recorded_until(20'000, signal, 130);
        EXPECT_EQ(came.back(), '\n') << signal;
        EXPECT_GT(operations_of(files.put("came", came)).size(), 2u);
    }
}

// It waits for the next round, on the clock of a machine.
TEST_F(interruption, that_is_interrupted_does_not_wait_for_the_next_round) {
    files.put("bw_total", "a report\n");
    setenv("OVK_DIRECTORY", files.path().c_str(), 1);

    for (const std::string &source : {"sysfs:" + files.path(), std::string("exec:sh")}) {
        running_program ovk("-s " + source + " record --every 1h -o " + pipe);
        std::ifstream from(pipe, std::ios::binary);
        std::string line;
        ASSERT_TRUE(std::getline(from, line) && std::getline(from, line)) << source;
        EXPECT_TRUE(has(line, "a report"));
        ovk.signal(SIGINT);
        EXPECT_EQ(ovk.wait(), 130) << source;
        EXPECT_EQ(rest_of(from), "") << source;
    }
    unsetenv("OVK_DIRECTORY");
}

}  // namespace ovk::tests
