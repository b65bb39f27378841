// SPDX-License-Identifier: GPL-2.0-only
// All reports of a real kernel on every chip, against the traffic that was put in and the time for
// which the chip counted it: a guest that is woken up late counts more, and rightly.
#include "lab/tests/chips.h"
#include "lab/tests/guest.h"
#include "sim/simulator.h"
#include "tests/report_text.h"

namespace lab {

class chip : public guest, public testing::WithParamInterface<std::string> {};

INSTANTIATE_TEST_SUITE_P(kernel, chip, testing::ValuesIn(sim::chip_names()),
                         [](const auto &each) { return each.param; });

TEST_P(chip, has_its_monitors_configured_and_all_reports_agree_to_the_digit_with_what_it_counted) {
    constexpr std::uint32_t total_ms = 100;
    constexpr std::uint32_t port_ms = 20;
    const devicetree::flat_tree tree = sim::chip_tree(GetParam());
    const soc::scenario traffic = sim::find_scenario(GetParam(), "playback");
    const auto modules = static_cast<std::uint32_t>(tests::modules_of(tree).size());

    const std::string printed = run(
        {"--soc", GetParam()}, enable_all(tree, total_ms) + "modules=" + std::to_string(modules) +
                                   "\nport_time=" + std::to_string(port_ms) + R"(
        # A report that fills the page has no newline at its end.
        show() { echo; echo "@@$1"; cat $2; }
        show bound /dev/null; ls -d ../ovk-effi/*.effi_monitor* | wc -l
        show total bw_total
        for id in $(seq 0 $((modules - 1))); do
            echo $id $port_time >bw_larb
            show larbs$id bw_larb
        done
        echo $port_time >bw_scomm; show commons bw_scomm
        echo $port_time >bw_emi; show emi bw_emi
        echo 1 >bw_emi_detail; show detail bw_emi
        show bus bw_bus
    )");

    expect_configured(GetParam(), soc::register_file(path("registers")));
    EXPECT_EQ(section(printed, "bound"),
              std::to_string(configuration_of(tree).size() / 8) + "\n\n");
    run_log runs(path("runs"));
    const tests::oracle total(tree, traffic, total_ms, runs.lengths());
    const tests::oracle ports(tree, traffic, port_ms, runs.lengths());
    EXPECT_EQ(tests::table_rows(section(printed, "total")), total.total());
    for (std::uint32_t id = 0; id < modules; ++id) {
        SCOPED_TRACE("bw_larb of module " + std::to_string(id));
        tests::expect_rows(section(printed, "larbs" + std::to_string(id)), ports.larb_report(id),
                           3);
    }
    tests::expect_rows(section(printed, "commons"), ports.common_report());
    tests::expect_rows(section(printed, "emi"), ports.emi_total());
    tests::expect_rows(section(printed, "detail"), ports.emi_detail(), 5);
    EXPECT_EQ(section(printed, "bus"), std::to_string(ports.bus_percent()) + "%\n");
    EXPECT_EQ(runs.left(), lines{});
}

}  // namespace lab
