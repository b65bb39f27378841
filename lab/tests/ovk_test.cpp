// SPDX-License-Identifier: GPL-2.0-only
// The device's own ovk on a real kernel. With ./check --all: it is built for that first.
#include <cstdlib>

#include "lab/tests/guest.h"
#include "tests/pattern.h"

namespace lab {

class ovk : public guest {
  protected:
    // With the program in the guest's /bin.
    std::string run_with_program(const std::string &commands) const {
        const std::string build = "'" OVK_SOURCE_DIR "/run' ovk --build-arm64 >";
        EXPECT_EQ(std::system((build + path("program")).c_str()), 0);
        return run({"--program", lines_of(content_of(path("program"))).at(0)}, commands);
    }
};

// The text of a recording is the text of the attribute; what is read back from it is the same
// report, but for nothing.
TEST_F(ovk, replays_on_a_device_what_it_recorded_there) {
    const std::string printed = run_with_program(R"(
        for report in total larb scomm emi bus fifo; do
            ovk record -o /tmp/r --count 1 --reports $report || exit
            ovk -s file:/tmp/r report $report --format json >/tmp/1 || exit
            ovk -s file:/tmp/r report $report --format json --strict >/tmp/2 || exit
            ovk -s file:/tmp/r record -o /tmp/s --count 1 --reports $report || exit
            sed 1d /tmp/r >/tmp/lines && sed 1d /tmp/s | cmp - /tmp/lines || exit
            cmp /tmp/1 /tmp/2 || exit
        done
        echo @@facts
        sed q /tmp/r | grep -o '"module_version":"[^"]*"'
        echo @@same
        ovk -s exec:sh read ip_config >/tmp/shell && ovk read ip_config | cmp - /tmp/shell && echo same
        echo @@written
        ovk write bw_emi_lmt '0 1 5' && ovk read emi_setting | grep 'Port(1)'
        ovk write mask '9 9 9' || echo $?
        echo @@restored
        ovk qos save /tmp/q 2>/dev/null && ovk write bw_emi_lmt '0 1 7'
        ovk qos diff /tmp/q 2>/dev/null >/dev/null || echo $?
        ovk qos restore /tmp/q >/dev/null 2>&1; ovk read emi_setting | grep 'Port(1)'
        echo @@trace
        mount -t tracefs tracefs /sys/kernel/tracing 2>/dev/null
        if [ -e /sys/kernel/tracing/trace_marker ]; then
            ovk record -o /tmp/r --count 1 --reports bus --marker
            grep -c 'C|[0-9]*|ovk.bus.usage_percent|[0-9]' /sys/kernel/tracing/trace
        else
            echo 1
        fi
    )");

    EXPECT_TRUE(tests::contains(section(printed, "facts"), "\"[0-9]+\\.[0-9]+\\.[0-9]+\""));
    EXPECT_EQ(section(printed, "same"), "same\n");
    EXPECT_TRUE(tests::contains(section(printed, "written"), "bw_limit: 0x5[^\n]*\n5\n$"))
        << section(printed, "written");
    EXPECT_TRUE(tests::contains(section(printed, "restored"), "^1\n[^\n]*bw_limit: 0x5"))
        << section(printed, "restored");
    EXPECT_EQ(section(printed, "trace"), "1\n");
}

}  // namespace lab
