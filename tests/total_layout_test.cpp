// SPDX-License-Identifier: GPL-2.0-only
// The total report byte for byte, at its limits, and what it refuses.
#include "tests/compiled.h"
#include "tests/pattern.h"
#include "tests/report_text.h"
#include "tests/rig.h"

namespace tests {

namespace {

// 4 modules on 32 bits at 3200 MT/s: 12,800 MB/s.
constexpr const char *small_chip = R"(/dts-v1/;
/ { #address-cells = <1>; #size-cells = <1>;
    dram_config { bus_width = <32>; dram_clock = <3200>; dram_penalty = <85>;
                  emi_clock = <800>; smi_clock = <624>; };
    emi_arch { emi_cnt = <1>; emi_port_cnt = <8>; smi_common_cnt = <1>; };
    emi_cen0@1c010000 { reg = <0x1c010000 0x1000>; };
    emi_dispatch0@1c011000 { reg = <0x1c011000 0x1000>; };
    effi_monitor0@1c012000 { compatible = "quorix,zt430-effi-mon"; reg = <0x1c012000 0x1000>; };
    common: smi_common0@1c013000 { reg = <0x1c013000 0x1000>; quorix,common-id = <0>;
                                   input-port-nr = <4>; output-port-nr = <1>; };
    larb0@1c014000 { reg = <0x1c014000 0x1000>; quorix,smi = <&common>; quorix,smi-port-id = <2>; };
    gop { device_type = "bw"; module-name = "GOP"; domain = "GFX"; module-id = <0>; init-on;
          gop_larb0 { larb-id = <0>; port-list = <3>; }; };
    tsp { device_type = "bw"; module-name = "TSP"; domain = "TS"; module-id = <1>; init-on;
          tsp_comm0 { common-id = <0>; port-list = <1>; }; };
    ref { device_type = "bw"; module-name = "REF_EMI"; domain = "EMI"; module-id = <2>; init-on; };
    sum { device_type = "bw"; module-name = "SUM"; domain = "ALL"; module-id = <3>; init-on; };
};)";

// total_bw is this many MB/s, so that 1 % is easy to aim at.
devicetree::flat_tree small_tree_of(std::uint32_t total_bw, std::uint32_t penalty) {
    return compiled(small_chip)
        .with_u32("/dram_config", "bus_width", 8)
        .with_u32("/dram_config", "dram_clock", total_bw)
        .with_u32("/dram_config", "dram_penalty", penalty);
}

soc::source gop(std::uint32_t read, std::uint32_t efficiency, std::uint32_t ultra = 0) {
    return {soc::source_kind::larb_port,
            0,
            3,
            {.read = read, .efficiency = efficiency, .ultra = ultra}};
}

soc::source tsp(std::uint32_t write, std::uint32_t efficiency) {
    return {soc::source_kind::common_input, 0, 1, {.write = write, .efficiency = efficiency}};
}

void set_traffic(rig &r, std::vector<soc::source> sources) {
    soc::scenario traffic;

    traffic.sources = std::move(sources);
    r.chip().set_scenario(traffic);
}

std::string blanks(std::size_t count) {
    return std::string(count, ' ');
}

std::string header() {
    return "Starting Monitor......\033[K\n\033[K\n"
           "\033[7m  ID    MODULE      DOMAIN     DATA_BW     EFFI(%)      BUS_BW    ULTRA(%)"
           " PREULTRA(%)\033[0m\033[K\n";
}

std::string bar(const std::string &head, std::size_t filled, std::size_t rest) {
    return head + "[\033[7m" + blanks(filled) + "\033[0m" + blanks(rest) + "]\033[K\n";
}

std::string dram_block(const std::string &width_and_clock, const std::string &amounts,
                       const std::string &percentages, const std::string &verdict) {
    return "\033[K\n"
           "\033[4m" +
           blanks(23) +
           "\033[0m\033[K\n"
           "\033[7m|   Width  |   Clock  |\033[0m\033[K\n"
           "\033[0m\033[4m" +
           width_and_clock +
           "\033[0m\033[K\n"
           "\033[0m\033[K\n"
           "\033[4m" +
           blanks(34) +
           "\033[0m\033[K\n"
           "\033[7m| TotalBW  |   BusBW  |   Slack  |\033[0m\033[K\n"
           "\033[0m\033[4m" +
           amounts +
           "\033[0m\033[K\n"
           "\033[4m" +
           percentages +
           "\033[0m\033[K\n"
           "\033[0m\033[K\n\033[K\n"
           "Status: " +
           verdict + "\033[0m\033[K\n\033[K\n";
}

std::string status_of(const std::string &report) {
    const std::size_t place = report.find("Status: ");

    return place == std::string::npos ? "" : report.substr(place + 8, 19);
}

// "name bandwidth" of all rows or bars would say too little: the whole line that starts so.
std::string line_with(const std::string &report, const std::string &text) {
    const std::size_t found = report.find(text);

    if (found == std::string::npos) {
        return "";
    }
    const std::size_t start = report.rfind('\n', found) + 1;
    return report.substr(start, report.find('\n', found) - start);
}

}  // namespace

// GOP: 640 MB/s at 50 % cost 1280 MB/s, a tenth of 12,800; half its requests are ultra. The
// reference sees 640 MB/s at 70 %.
TEST(total_layout, full_report_is_exact) {
    rig r(compiled(small_chip));
    r.loaded();
    set_traffic(r, {gop(640, 50, 50)});

    EXPECT_EQ(r.read("bw_total"),
              header() +
                  "   0       GOP         GFX         640          50        1280          50"
                  "           0\033[K\n"
                  "   1       TSP          TS           0           0           0           0"
                  "           0\033[K\n"
                  "   2   REF_EMI         EMI         640          70         914           0"
                  "           0\033[K\n"
                  "   3       SUM         ALL         640          50        1280          50"
                  "           0\033[K\n"
                  "\033[K\n" +
                  bar("GOP       :   1280 (MB/s) 100 o/oo", 5, 45) +
                  bar("REF_EMI   :    914 (MB/s)  71 o/oo", 3, 47) +
                  bar("SUM       :   1280 (MB/s) 100 o/oo", 5, 45) +
                  dram_block("|     32   |    3200  |", "|   12800  |    1280  |   11520  |",
                             "|    100%  |     10%  |    90%   |", "\033[42;30m   SAFE   "));
}

TEST(total_layout, simple_report_is_exact) {
    rig r(compiled(small_chip));
    r.loaded();
    set_traffic(r, {gop(640, 50, 50), tsp(300, 100)});
    r.write("simple_mon", "0x1\n");

    EXPECT_EQ(r.read("bw_total"),
              "\033[K\n"
              "GOP       :   1280 MB/s\033[K\n"
              "TSP       :    300 MB/s\033[K\n"
              "SUM       :   1580 MB/s\033[K\n"
              "\033[K\n"
              "Total     :  12800 MB/s (100%)\033[K\n"
              "Useage    :   1580 MB/s ( 12%)\033[K\n"
              "Slack     :  11220 MB/s ( 87%)\033[K\n"
              "\033[K\n");
}

// 150 of 100 MB/s: a bar of 75 cells, then 25 blanks for the width of -25.
TEST(total_layout, over_subscription_draws_a_longer_bar_and_a_negative_slack) {
    rig r(small_tree_of(100, 85));
    r.loaded();
    set_traffic(r, {gop(150, 100)});
    r.write("bw_total", "2 0 16 0\n");

    EXPECT_EQ(r.read("bw_total"),
              header() +
                  "   0       GOP         GFX         150         100         150           0"
                  "           0\033[K\n"
                  "   1       TSP          TS           0           0           0           0"
                  "           0\033[K\n"
                  "   3       SUM         ALL         150         100         150           0"
                  "           0\033[K\n"
                  "\033[K\n" +
                  bar("GOP       :    150 (MB/s)1500 o/oo", 75, 25) +
                  bar("SUM       :    150 (MB/s)1500 o/oo", 75, 25) +
                  dram_block("|      8   |     100  |", "|     100  |     150  |     -50  |",
                             "|    100%  |    150%  |   -50%   |", "\033[41;30m  DANGER  "));
}

TEST(total_layout, verdict_follows_the_threshold) {
    struct band {
        std::uint32_t penalty;
        std::uint32_t usage;
        const char *verdict;
    };
    const char *safe = "\033[42;30m   SAFE   \033";
    const char *warning = "\033[43;30m  WARNING  ";
    const char *danger = "\033[41;30m  DANGER  \033";
    const band bands[] = {{85, 75, safe}, {85, 76, warning}, {85, 85, warning}, {85, 86, danger},
                          {10, 0, safe},  {10, 1, warning},  {9, 9, safe},      {9, 10, danger},
                          {0, 0, safe},   {0, 1, danger}};

    for (const band &each : bands) {
        rig r(small_tree_of(100, each.penalty));
        r.loaded();
        set_traffic(r, {gop(each.usage, 100)});
        EXPECT_EQ(status_of(r.read("bw_total")), each.verdict)
            << each.usage << " of " << each.penalty;
    }
}

TEST(total_layout, no_theoretical_bandwidth_means_no_usage) {
    rig r(small_tree_of(0, 85));
    r.loaded();
    set_traffic(r, {gop(500, 100)});

    const std::string report = r.read("bw_total");
    EXPECT_NE(report.find(bar("SUM       :    500 (MB/s)   0 o/oo", 0, 50)), std::string::npos);
    EXPECT_NE(report.find("|       0  |     500  |    -500  |"), std::string::npos);
    EXPECT_NE(report.find("|    100%  |      0%  |     0%   |"), std::string::npos);
    EXPECT_EQ(status_of(report), "\033[42;30m   SAFE   \033");
}

TEST(total_layout, a_bar_far_beyond_the_page_is_cut_with_it) {
    rig r(small_tree_of(1, 85));
    r.loaded();
    set_traffic(r, {gop(2000, 1)});

    const std::string report = r.read("bw_total");
    EXPECT_EQ(report.size(), 4095u);
    EXPECT_EQ(report.substr(4000), blanks(95));
}

// Processing option 1: GOP, behind a larb, has no row and no weight in SUM's shares, but it is
// measured, added up and has a bar.
TEST(total_layout, option_1_leaves_larb_modules_out_of_the_tables) {
    rig r(compiled(small_chip));
    r.loaded();
    set_traffic(r, {gop(640, 50, 100), tsp(640, 50)});
    r.write("bw_total", "0 1 16 1\n");

    const std::string report = r.read("bw_total");
    EXPECT_EQ(line_with(report, "  GOP  "), "");
    EXPECT_NE(line_with(report, "GOP       :   1280 (MB/s)"), "");
    EXPECT_EQ(plain(line_with(report, " SUM  ")),
              "   3       SUM         ALL        1280          50        2560           0"
              "           0");
    r.write("simple_mon", "1\n");
    EXPECT_EQ(line_with(r.read("bw_total"), "GOP"), "");
    r.write("bw_total", "0 1 16 2\n");
    EXPECT_NE(line_with(r.read("bw_total"), "GOP"), "");
}

TEST(total_layout, a_long_report_ends_with_the_page) {
    rig r("zt440");
    r.loaded();
    r.chip().set_scenario(sim::find_scenario("zt440", "playback"));
    enable_all(r, 16);

    const auto result = r.machine().read("bw_total");
    EXPECT_EQ(result.code, 4095);
    EXPECT_EQ(result.text.size(), 4095u);
    EXPECT_EQ(result.text.find('\0'), std::string::npos);
}

TEST(total_layout, a_time_of_zero_measures_nothing) {
    rig r("zt430");
    r.loaded();
    r.chip().set_scenario(sim::find_scenario("zt430", "overload"));
    r.write("bw_total", "0 1 0 0\n");
    r.write("simple_mon", "1\n");

    EXPECT_NE(r.read("bw_total").find("SUM       :      0 MB/s"), std::string::npos);
}

TEST(total_layout, an_efficiency_monitor_that_hangs_costs_its_poll_limit_and_no_more) {
    for (const auto &[emi_clock, polls] : {std::pair{800u, 50u}, {432u, 500u}, {456u, 500u}}) {
        rig r(compiled(small_chip).with_u32("/dram_config", "emi_clock", emi_clock));
        r.loaded();
        set_traffic(r, {gop(640, 50)});
        r.write("bw_total", "2 0 16 0\n");
        ASSERT_TRUE(r.chip().hang("effi_monitor0"));
        const std::uint64_t before = r.machine().waited_us();
        // Nothing was counted, so the port has no efficiency and costs nothing on the bus.
        EXPECT_EQ(plain(line_with(r.read("bw_total"), "GOP")),
                  "   0       GOP         GFX         640           0           0           0"
                  "           0");
        EXPECT_EQ(r.machine().waited_us() - before, 3 * 16'000 + polls * 999) << emi_clock;
        EXPECT_EQ(r.log(), (lines{"<6>[OVK_BW]set m_id: 2, enable: 0, time: 16 ms, proc: 0"}));
    }
}

TEST(total_layout, a_monitor_that_is_done_already_is_read_without_sleeping) {
    rig r(compiled(small_chip));
    r.loaded();
    set_traffic(r, {gop(640, 50)});
    r.write("bw_total", "2 0 16 0\n");
    r.pin("effi_monitor0+0x34", 1);
    r.pin("effi_monitor0+0x2c", 25);

    const std::uint64_t before = r.machine().waited_us();
    EXPECT_EQ(plain(line_with(r.read("bw_total"), "GOP")),
              "   0       GOP         GFX         640          25        2560           2"
              "           2");
    EXPECT_EQ(r.machine().waited_us() - before, 3 * 16'000u);
}

TEST(total_layout, an_emi_run_that_hangs_is_stopped_logged_and_zero) {
    rig r(compiled(small_chip));
    r.loaded();
    set_traffic(r, {gop(640, 100)});
    EXPECT_NE(line_with(r.read("bw_total"), "REF_EMI         EMI         640"), "");
    ASSERT_TRUE(r.chip().hang("emi_cen0"));

    const std::uint64_t before = r.machine().waited_us();
    EXPECT_EQ(plain(line_with(r.read("bw_total"), "REF_EMI")),
              "   2   REF_EMI         EMI           0          70           0           0"
              "           0");
    EXPECT_EQ(r.machine().waited_us() - before, 3 * 16'000u + 999 + 2 * 16'000 + 100'000);
    EXPECT_EQ(r.log(), lines{"<3>[OVK_BW]EMI monitor time out"});
    EXPECT_EQ(r.peek("emi_cen0+0x400"), 0u);
    EXPECT_EQ(r.peek("emi_cen0+0x060"), 0u);
    EXPECT_EQ(r.peek("emi_dispatch0+0x100"), 0u);
}

// The chip has three, and spreads 640 MB/s over them as 214, 213 and 213.
TEST(total_layout, emi_channel_counts_from_none_to_five) {
    const char *const none = "           0          64           0";
    const std::pair<std::uint32_t, const char *> outcomes[] = {
        {0, none},
        {1, "         214          64         334"},
        {2, "         427          64         667"},
        {3, "         640          64        1000"},
        {4, none},
        {5, none}};

    for (const auto &[channels, figures] : outcomes) {
        rig r(sim::chip_tree("zt440").with_u32("/emi_arch", "emi_cnt", channels));
        r.loaded();
        set_traffic(r, {{soc::source_kind::emi_port, 0, 0, {.read = 640}}});
        r.machine().set_tracing(true);
        EXPECT_EQ(plain(line_with(r.read("bw_total"), " CPU  ")),
                  std::string("   0       CPU         CPU") + figures + "           0           0")
            << channels;
        EXPECT_EQ(r.log(), lines{}) << channels;
        for (const std::string &access : r.trace()) {
            EXPECT_TRUE(figures != none || access.find("emi_") == std::string::npos) << access;
        }
    }
}

// Commons 3 and 4 have a monitor on path 0 only, and there is none for common 8.
TEST(total_layout, commons_without_a_monitor_show_data_but_no_bus_bandwidth) {
    struct outcome {
        const char *common;
        std::uint32_t paths;
        const char *bus;
    };
    const outcome outcomes[] = {{"smi_common3", 0, "1000"}, {"smi_common3", 4, "0"},
                                {"smi_common4", 0, "1000"}, {"smi_common4", 4, "0"},
                                {"smi_common8", 0, "0"},    {"smi_common8", 4, "0"}};

    for (const outcome &each : outcomes) {
        const auto number = static_cast<std::uint32_t>(each.common[10] - '0');
        const std::string dts_number(1, each.common[10]);
        std::string text = small_chip;
        const auto replace = [&text](const std::string &from, const std::string &to) {
            text.replace(text.find(from), from.size(), to);
        };
        replace("smi_common0@", "smi_common" + dts_number + "@");
        replace("quorix,common-id = <0>", "quorix,common-id = <" + dts_number + ">");
        replace("common-id = <0>; port-list", "common-id = <" + dts_number + ">; port-list");
        replace("effi_monitor0@", "effi_monitor" + std::string(number == 3 ? "6" : "7") + "@");
        rig r(compiled(text));
        r.loaded();
        soc::scenario traffic;
        traffic.sources = {
            {soc::source_kind::common_input, number, 1, {.write = 500, .efficiency = 50}}};
        traffic.presets = {{each.common, 0x220, each.paths}};
        r.chip().set_scenario(traffic);
        const std::string row = plain(line_with(r.read("bw_total"), "TSP"));
        EXPECT_EQ(row.substr(26, 12), "         500") << each.common;
        EXPECT_EQ(row.substr(50, 12), blanks(12 - std::string(each.bus).size()) + each.bus)
            << each.common << " " << each.paths;
        EXPECT_EQ(r.log(), lines{});
    }
}

// VDEC uses larbs 0, 1 and 5; FRC larbs 6 and 7 and then input 0 of SMI common 2.
TEST(total_layout, a_module_abandoned_part_way_shows_what_was_measured_in_mb_per_second) {
    rig r("zt430");
    const std::string missing = "<3>[OVK_BW]Can't find SMI LARB device base!!";
    r.loaded();
    set_traffic(r, {{soc::source_kind::larb_port, 0, 0, {.read = 300, .efficiency = 60}},
                    {soc::source_kind::larb_port, 1, 0, {.read = 200, .efficiency = 50}},
                    {soc::source_kind::common_input, 2, 0, {.write = 100}}});
    r.machine().fail_named(host::fault_kind::node, "larb1");
    r.machine().fail_named(host::fault_kind::node, "larb7");

    const std::string report = r.read("bw_total");
    EXPECT_EQ(plain(line_with(report, " VDEC  ")),
              "   2      VDEC          TS         300          60         500           0"
              "           0");
    EXPECT_EQ(plain(line_with(report, " FRC  ")),
              "   7       FRC       FRAME           0           0           0           0"
              "           0");
    EXPECT_EQ(plain(line_with(report, " SUM  ")),
              "  15       SUM         ALL         300          60         500           0"
              "           0");
    EXPECT_EQ(r.log(), lines(2, missing));
    r.machine().clear_faults();
}

// The requests of VDEC's second port and of TSP's input, both at monitor 4, are all ultra. Without
// the monitor they must not be another port's; where their efficiency reads 0 they count, and only
// the bus bandwidth is not known.
TEST(total_layout, a_port_without_a_measured_efficiency_carries_no_priority_weight) {
    for (const bool measured : {false, true}) {
        rig r("zt430");
        r.loaded();
        set_traffic(
            r, {{soc::source_kind::larb_port, 0, 0, {.read = 300, .efficiency = 60, .ultra = 50}},
                {soc::source_kind::larb_port, 5, 2, {.read = 300, .efficiency = 0, .ultra = 100}},
                {soc::source_kind::common_input,
                 1,
                 5,
                 {.write = 300, .efficiency = 0, .ultra = 100}}});
        if (!measured) {
            r.machine().fail_named(host::fault_kind::node, "effi_monitor4");
        }
        const std::string report = r.read("bw_total");
        EXPECT_EQ(plain(line_with(report, " VDEC  ")),
                  std::string("   2      VDEC          TS         600         120         500") +
                      (measured ? "          75" : "          25") + "           0");
        EXPECT_EQ(plain(line_with(report, " TSP  ")),
                  std::string("   4       TSP          TS         300           0           0") +
                      (measured ? "         100" : "           0") + "           0");
        r.log();
        r.machine().clear_faults();
    }
}

TEST(total_layout, without_sum_and_reference_entries_no_other_module_stands_in) {
    rig r(compiled(small_chip)
              .with_property("/ref", "module-name", std::string("REF_EMX", 8))
              .with_property("/sum", "module-name", std::string("SUN", 4)));
    ASSERT_EQ(r.machine().load(), 0);
    r.machine().take_log();
    set_traffic(r, {gop(640, 50), tsp(640, 50)});

    const std::string report = r.read("bw_total");
    EXPECT_NE(line_with(report, "   0       GOP         GFX         640          50        1280"),
              "");
    EXPECT_NE(line_with(report, "   3       SUN         ALL           0           0           0"),
              "");
    EXPECT_NE(report.find("|   12800  |    2560  |   10240  |"), std::string::npos);
}

// TSP's input 1 is the common's monitored port 2, behind its output; without the output it is
// port 1.
TEST(total_layout, a_common_without_port_counts_is_measured_as_if_it_had_no_outputs) {
    for (const std::string property : {"input-port-nr", "output-port-nr"}) {
        rig r(compiled(small_chip));
        r.loaded();
        r.machine().fail_named(host::fault_kind::property, "smi_common0:" + property);
        r.machine().set_tracing(true);
        r.read("bw_total");
        EXPECT_EQ(r.log(), (lines{"<3>[OVK_BW]can't get property: " + property,
                                  "<3>[OVK_BW]Can't get smi common port info!!"}));
        lines selections = r.trace();
        std::erase_if(selections, [](const std::string &access) {
            return !access.starts_with("W32 smi_common0+0x1b0");
        });
        EXPECT_EQ(selections, lines(2, "W32 smi_common0+0x1b0 0x00000011"));
        r.machine().clear_faults();
    }
}

TEST(total_input, malformed_selections_are_refused_and_change_nothing) {
    const std::string junk(4095, 'x');
    const char *refused[] = {"",
                             "\n",
                             "1\n",
                             "1 1\n",
                             "1 1 16\n",
                             "-1 1 16 0\n",
                             "1 -1 16 0\n",
                             "1 1 16 -0\n",
                             "+1 1 16 0\n",
                             "a 1 16 0\n",
                             "1,1,16,0\n",
                             "4 1 16 0\n",
                             "4294967295 1 16 0\n",
                             "0x0 0 20 1\n",
                             junk.c_str()};

    rig r(compiled(small_chip));
    r.loaded();
    set_traffic(r, {gop(640, 50), tsp(640, 50)});
    const std::string before = r.read("bw_total");
    const std::uint64_t waited = r.machine().waited_us();
    for (const char *text : refused) {
        r.write("bw_total", text);
        EXPECT_EQ(r.log(), *text == '\0' ? lines{} : lines{"<3>[OVK_BW]Wrong Argument!!"}) << text;
    }
    const std::uint64_t second = r.machine().waited_us();
    EXPECT_EQ(r.read("bw_total"), before);
    EXPECT_EQ(r.machine().waited_us() - second, waited);
}

TEST(total_input, selections_take_effect_and_say_so) {
    rig r(compiled(small_chip));
    r.loaded();
    set_traffic(r, {gop(640, 50), tsp(640, 50)});

    r.write("bw_total", "3 0 20 0\n");
    EXPECT_EQ(r.log(), lines{"<6>[OVK_BW]set m_id: 3, enable: 0, time: 20 ms, proc: 0"});
    EXPECT_EQ(line_with(r.read("bw_total"), "SUM  "), "");
    r.write("bw_total", " 3  7 4294967297 0x1");
    EXPECT_EQ(r.log(), lines{"<6>[OVK_BW]set m_id: 3, enable: 1, time: 1 ms, proc: 0"});
    const std::uint64_t before = r.machine().waited_us();
    EXPECT_NE(line_with(r.read("bw_total"), "SUM  "), "");
    EXPECT_EQ(r.machine().waited_us() - before, 4 * 1000u + 2 * 999);
}

TEST(total_input, the_view_takes_any_number_and_nothing_else) {
    rig r(compiled(small_chip));
    r.loaded();

    const auto is_simple = [&r] { return r.read("bw_total").starts_with("\033[K\n"); };
    for (const char *number : {"1\n", "0x1\n", "4294967295", "010\n", "+5\n"}) {
        r.write("simple_mon", "0\n");
        r.write("simple_mon", number);
        EXPECT_TRUE(is_simple()) << number;
        EXPECT_EQ(r.log(), lines{}) << number;
    }
    for (const char *text : {"abc\n", "4294967296\n", "-1\n", " 0\n", "0 \n", "0\n\n", "08\n"}) {
        r.write("simple_mon", text);
        EXPECT_TRUE(is_simple()) << text;
        EXPECT_EQ(r.log(), lines{"<3>[OVK_BW]Wrong Argument!!"}) << text;
    }
    EXPECT_EQ(r.read_code("simple_mon"), -13);
}

}  // namespace tests
