// SPDX-License-Identifier: GPL-2.0-only
// The texts of the reports, which rows they have, how these lie, and their figures at the limits.
#include <algorithm>
#include <cstring>

#include "tests/pattern.h"
#include "tests/port_chip.h"
#include "tests/report_text.h"

namespace tests {

namespace {

// What a text does to the cursor: "n" begins a new line, "u" and "d" go up and down one, and "r"
// goes to the right column.
std::string moves(const std::string &text) {
    std::string all;

    for (std::size_t at = 0; at < text.size(); at++) {
        for (const auto &[sequence, move] :
             {std::pair{"\n", 'n'}, {"\033[1A", 'u'}, {"\033[1B", 'd'}, {"\033[60C", 'r'}}) {
            if (text.compare(at, std::strlen(sequence), sequence) == 0) {
                all += move;
            }
        }
    }
    return all;
}

// Texts of the reports, with "~" for the escape character and the bracket behind it.
const char *const larb_text = R"(Starting Monitor......~K
~K
Module : ~46;30m  GOP  ~0m~K
~K
OL: Outstanding Limit(Hex)~K
U: Force ultra PU: Force pre-ultra~K
R_BW / W_BW: R/W BW (MB/s)~K
M_CP: MAX CP(ns)~K
B: AVG Burst~K
E: Efficiency~K
UR: Ultra ratio~K
PUR: Pre-Ultra ratio~K
~K
SMI_LARB 0~K
~7m ID  OL  U PU  R_BW  W_BW  M_CP    B    E   UR  PUR~0m~K
~0m  0   0  0  1     0     0     0    0    0    0    0~K
~0m  1  ab  1  0   300   200  1400    9   80   25   50~K
~1A~1A~1A~1A~60CSMI_LARB 1~K
~60C~7m ID  OL  U PU  R_BW  W_BW  M_CP    B    E   UR  PUR~0m~K
~60C~0m  7   0  0  0     0     0     0    0    0    0    0~K
~1B~60C~K~K
~4m                                 ~0m~K
~7m| Data BW  |   Effi  |  Bus BW  |~0m~K
~0m~4m|    500   |     80  |     625  |~0m~K
~0m~K
)";

const char *const common_text = R"(Starting Monitor......~K
~K
SMI_COMMON 0~K
~7m TYPE PORT     R_BW     W_BW  M_RCP  M_WCP BURST  EFFI    UR   PUR~0m~K
~0m   In    0      300      200   1400   1400     9    80    25    50~K
~0m   In    3        0       40      0    600     6    80     0   100~K
~0m  Out    0      300      240   1400   1400     -     -     -     -~K
~K
)";

const char *const emi_text = R"(Starting Monitor......~K
~K
BW_LMT; RD/WR_TIMER; RD/WR_OSTD: Bandwidth info.(HEX)~K
DATA_BW: Data Bandwidth (MB/s)~K
BUS_BW: Bus Bandwidth (MB/s)~K
EFFI: Efficiency (%)~K
LATENCY: Average latency (ns)~K
~K
CENTRAL_EMI ALL~K
~7m PORT   DATA_BW   EFFI(%)     BURST    BUS_BW   LATENCY~0m~K
    0         0        70         1         0         0~K
    1       540        70         1       771       200~K
  ALL       540        70         -       771         -~K
~K
)";

const char *const emi_detail_text = R"(Starting Monitor......~K
~K
CENTRAL_EMI 0~K
~7m PORT BW_LMT RTIMER WTIMER  ROSTD  WOSTD   DATA_BW   EFFI(%)     BURST    BUS_BW   LATENCY~0m~K
    0     2A     CD     AB     51     62         0        70         1         0         0~K
    1     2A     CD     AB     73     84       270        70         1       385       200~K
~K
CENTRAL_EMI 1~K
~7m PORT BW_LMT RTIMER WTIMER  ROSTD  WOSTD   DATA_BW   EFFI(%)     BURST    BUS_BW   LATENCY~0m~K
    0      0      0      0      0      0         0        70         1         0         0~K
    1      0      0      0      0      0       270        70         1       385       200~K
~K
)";

const char *const total_text = R"(Starting Monitor......~K
~K
~7m  ID    MODULE      DOMAIN     DATA_BW     EFFI(%)      BUS_BW    ULTRA(%) PREULTRA(%)~0m~K
   0       GOP         GFX         500          80         625          25          50~K
   1       TSP          TS          40          80          50           0         100~K
   3       SUM         ALL         540          80         675          23          53~K
~K
GOP       :    625 (MB/s) 968 o/oo[~7m                                                ~0m  ]~K
TSP       :     50 (MB/s)  77 o/oo[~7m   ~0m                                               ]~K
SUM       :    675 (MB/s)1046 o/oo[~7m                                                    ~0m  ]~K
~K
~4m                       ~0m~K
~7m|   Width  |   Clock  |~0m~K
~0m~4m|      8   |     645  |~0m~K
~0m~K
~4m                                  ~0m~K
~7m| TotalBW  |   BusBW  |   Slack  |~0m~K
~0m~4m|     645  |     675  |     -30  |~0m~K
~4m|    100%  |    104%  |    -4%   |~0m~K
~0m~K
~K
Status: ~41;30m  DANGER  ~0m~K
~K
)";

const char *const simple_text = R"(~K
GOP       :    625 MB/s~K
TSP       :     50 MB/s~K
SUM       :    675 MB/s~K
~K
Total     :    645 MB/s (100%)~K
Useage    :    675 MB/s (104%)~K
Slack     :    -30 MB/s ( -4%)~K
~K
)";

// total_bw is this many MB/s, so that 1 % is easy to aim at.
devicetree::flat_tree chip_of(std::uint32_t total_bw, std::uint32_t penalty = 85,
                              const lines &port_lists = {"3"}) {
    return port_chip(port_lists)
        .with_u32("/dram_config", "bus_width", 8)
        .with_u32("/dram_config", "dram_clock", total_bw)
        .with_u32("/dram_config", "dram_penalty", penalty);
}

}  // namespace

// GOP's port 1 moves 500 MB/s, which are 625 on the bus at 80 %; TSP's input of SMI common 0 writes
// 40, which are 50. EMI port 1 has as much. The DRAM has 645.
TEST(report_layout, texts_are_exact) {
    rig r(chip_of(645, 85, {"0 1", "7"}).with_u32("/emi_arch", "emi_port_cnt", 2));
    r.loaded();
    r.run(
        {at_larb(
             0, 1,
             {.read = 300, .write = 200, .ultra = 25, .preultra = 50, .burst = 9, .period = 1400}),
         at_common(0, 3, {.write = 40, .preultra = 100, .burst = 6, .period = 600}),
         at_emi(1, {.read = 540})});
    r.pin({{"larb0+0x204", 0xab},
           {"larb0+0x78", 0x2},
           {"larb0+0x7c", 0x1},
           {"emi_cen0+0x100", 0xabcdffea},
           {"emi_cen0+0xd0", 0x4321},
           {"emi_cen0+0xd4", 0x8765}});
    r.write("bw_total", "2 0 16 0\n");
    const auto shown = [&r](const char *attribute) {
        return replaced(r.read(attribute), "\033\\[", "~");
    };

    EXPECT_EQ(shown("bw_larb"), larb_text);
    EXPECT_EQ(shown("bw_scomm"), common_text);
    EXPECT_EQ(shown("bw_emi"), emi_text);
    EXPECT_EQ(shown("bw_total"), total_text);
    r.write("bw_emi_detail", "1\n");
    r.write("simple_mon", "1\n");
    EXPECT_EQ(shown("bw_emi"), emi_detail_text);
    EXPECT_EQ(shown("bw_total"), simple_text);
}

TEST(total_layout, verdict_follows_the_threshold) {
    const char *safe = "Status: \033[42;30m   SAFE   \033[0m";
    const char *warning = "Status: \033[43;30m  WARNING  \033[0m";
    const char *danger = "Status: \033[41;30m  DANGER  \033[0m";

    for (const auto &[penalty, usage, verdict] : {std::tuple{85u, 75u, safe},
                                                  {85, 76, warning},
                                                  {85, 85, warning},
                                                  {85, 86, danger},
                                                  {10, 0, safe},
                                                  {10, 1, warning},
                                                  {9, 9, safe},
                                                  {9, 10, danger},
                                                  {0, 0, safe},
                                                  {0, 1, danger}}) {
        rig r(chip_of(100, penalty));
        r.loaded();
        r.run({at_larb(0, 3, {.read = usage, .efficiency = 100})});
        EXPECT_NE(r.read("bw_total").find(verdict), std::string::npos)
            << usage << " of " << penalty;
    }
}

// Processing option 1: GOP, behind a larb, has no row and no weight in SUM's shares, but it is
// measured, added up and has a bar.
TEST(total_layout, option_1_leaves_larb_modules_out_of_the_tables) {
    rig r(port_chip());
    r.loaded();
    r.run({at_larb(0, 3, {.read = 640, .efficiency = 50, .ultra = 100}),
           at_common(0, 3, {.write = 640, .efficiency = 50})});
    const auto shows_gop = [&r] { return r.read("bw_total").find("GOP") != std::string::npos; };

    r.write("bw_total", "0 1 16 1\n");
    const std::string report = r.read("bw_total");
    EXPECT_EQ(row_with(report, "0 GOP"), "");
    EXPECT_EQ(row_with(report, "3 SUM"), "3 SUM ALL 1280 50 2560 0 0");
    EXPECT_TRUE(shows_gop());
    r.write("simple_mon", "1\n");
    EXPECT_FALSE(shows_gop());
    r.write("bw_total", "0 1 16 2\n");
    EXPECT_TRUE(shows_gop());
}

// Title, header and ports of a larb, then back up for its right neighbour.
TEST(larb_layout, larbs_stand_in_pairs_however_long_they_are) {
    const std::pair<lines, std::string> layouts[] = {
        {{"0"}, "nnn n"},
        {{"0 1", "4 5"}, "nnnn uuuu rnrnrnrn n"},
        {{"0 1", "0 1 2 3 4", "31"}, "nnnn nnn uuuuuuu rnrnrnrnrnrnrn n nnn n"},
        {{"0 1 2", "7"}, "nnnnn uuuuu rnrnrn dd rn"},
        {{"0", "1", "2", "3 4"}, "nnn uuu rnrnrn n nnn n uuuu rnrnrnrn n"}};

    for (const auto &[ports, expected] : layouts) {
        rig r(port_chip(ports));
        r.loaded();
        const std::string report = clean_read(r, "bw_larb");
        std::string wanted = expected + "nnnn";  // and the totals
        std::erase(wanted, ' ');
        EXPECT_EQ(moves(report.substr(report.find("SMI_LARB"))), wanted) << expected;
    }
}

// The tree leaves larb 0's ports out: larb 1 takes its place, and the place that remains is empty
// and not even mapped.
TEST(larb_layout, a_place_without_ports_has_an_empty_block) {
    rig r(port_chip({"0", "4"}).without_property("/gop/gop_larb0", "port-list"));
    r.loaded();
    r.machine().fail_named(host::fault_kind::node, "larb0");

    const std::string report = clean_read(r, "bw_larb");
    EXPECT_EQ(port_rows(report), (lines{"Module : GOP", "SMI_LARB 1", "4 0 0 0 0 0 0 0 0 0 0",
                                        "SMI_LARB 0", "0 0 0"}));
    EXPECT_EQ(moves(report.substr(report.find("SMI_LARB"))), "nnnuuurnrndrnnnnn");
    EXPECT_EQ(r.log(), lines{});
    r.machine().clear_faults();
}

static lines commons_of(rig &r) {
    lines rows = port_rows(clean_read(r, "bw_scomm"));

    std::erase_if(rows, [](const std::string &row) { return !row.starts_with("SMI_COMMON"); });
    return rows;
}

// Only outputs make a block: SMI common 0's are pinned idle, and common 1 reads a trickle that a
// counter shows in 2 ms but not in 1.
TEST(common_layout, idle_outputs_leave_a_common_out) {
    rig r(port_chip());
    r.loaded();
    r.run({at_larb(0, 3, {.read = 100}), at_common(1, 1, {.read = 1})});
    r.write("bw_scomm", "1\n");
    EXPECT_EQ(commons_of(r), lines{"SMI_COMMON 0"});
    r.write("bw_scomm", "2\n");
    EXPECT_EQ(commons_of(r), (lines{"SMI_COMMON 0", "SMI_COMMON 1"}));
    r.pin("smi_common0+0x1cc", 0);
    EXPECT_EQ(commons_of(r), lines{"SMI_COMMON 1"});
}

// SMI common 1 has number 63 or 64 where that is said.
TEST(common_layout, takes_the_available_commons_and_misses_the_rest_once) {
    const std::pair<const char *, std::string> none = {"unused", ""};
    const std::pair<const char *, std::string> disabled = {"status", std::string("disabled", 9)};
    const std::pair<const char *, std::string> no_outputs = {"output-port-nr", std::string(4, 0)};

    for (const auto &[count, second, variation, commons, missed] :
         {std::tuple{0u, "1", none, lines{}, false},
          {2, "1", none, {"SMI_COMMON 0", "SMI_COMMON 1"}, false},
          {9, "1", none, {"SMI_COMMON 0", "SMI_COMMON 1"}, true},
          {2, "1", disabled, {"SMI_COMMON 1"}, true},
          {2, "1", no_outputs, {"SMI_COMMON 1"}, false},
          {2, "63", none, {"SMI_COMMON 0", "SMI_COMMON 63"}, false},
          {2, "64", none, {"SMI_COMMON 0"}, true}}) {
        SCOPED_TRACE(std::to_string(count) + " with " + second + variation.first);
        rig r(port_chip({"3"}, second)
                  .with_u32("/emi_arch", "smi_common_cnt", count)
                  .with_property(path_of_common0, variation.first, variation.second));
        r.loaded();
        r.run({at_common(0, 3, {.read = 100}),
               at_common(static_cast<std::uint32_t>(std::stoul(second)), 1, {.read = 100})});
        EXPECT_EQ(commons_of(r), commons);
        EXPECT_EQ(r.log(), lines(missed ? 1 : 0, "<3>[OVK_BW]Can't find SMI COMMON device base!!"));
    }
}

// The chip has three channels, so whoever counts on one of them sees a third; 640 MB/s are spread
// as 214, 213 and 213. No channel and more than three are left alone.
TEST(emi_limits, channel_counts_from_none_to_five) {
    for (const auto &[channels, code, port, usage, cpu] :
         {std::tuple{0u, 0, "0 0 70 1 0 0", "0%\n", "0 64 0 0 0"},
          {1, 0, "0 214 70 1 305 200", "0%\n", "214 64 334 0 0"},
          {2, 0, "0 427 70 1 610 200", "1%\n", "427 64 667 0 0"},
          {3, 0, "0 640 70 1 914 200", "2%\n", "640 64 1000 0 0"},
          {4, -1, "", "", "0 64 0 0 0"},
          {5, -1, "", "", "0 64 0 0 0"}}) {
        SCOPED_TRACE(std::to_string(channels) + " channels");
        rig r(sim::chip_tree("zt440").with_u32("/emi_arch", "emi_cnt", channels));
        r.loaded();
        r.run({at_emi(0, {.read = 640})});
        r.machine().set_tracing(true);
        EXPECT_EQ(row_with(clean_read(r, "bw_emi", code), "0 "), port);
        EXPECT_EQ(clean_read(r, "bw_bus", code), usage);
        EXPECT_EQ(row_with(r.read("bw_total"), "0 CPU"), std::string("0 CPU CPU ") + cpu);
        EXPECT_EQ(r.log(), lines{});
        const lines trace = r.trace();
        EXPECT_EQ(std::count(trace.begin(), trace.end(), "W32 emi_cen0+0x400 0x00000000") != 0,
                  channels >= 1 && channels <= 3);
    }
}

// 300 and 200 MB/s at 80 % are 375 and 250 on the bus; 256 and 512 of 1024 requests are 25 and 50
// %. bw_scomm sees both directions at once.
TEST(debug_log, follows_every_measured_direction_of_a_port) {
    const std::string shares[] = {
        "<1>[OVK-BW] cnt_ultra: 256, cnt_pultra: 512 CMD_NUM: 1024\033[K",
        "<1>[OVK-BW] r_ultra: 25, r_pultra: 50, burst: 9\033[K",
    };
    rig r(port_chip());
    r.loaded();
    r.run({at_larb(
        0, 3,
        {.read = 300, .write = 200, .efficiency = 80, .ultra = 25, .preultra = 50, .burst = 9})});
    r.write("debug_log_on", "4294967295\n");

    clean_read(r, "bw_larb");
    EXPECT_EQ(r.log(),
              (lines{"<1>[OVK-BW] SMI Larb: 0 port: 3 type: R\033[K",
                     "<1>[OVK-BW] r_bw: 300, effi: 80, \\c", shares[0], shares[1],
                     "<1>[OVK-BW] larb_data_bw: 300, larb_bus_bw: 375 \033[K", "<1>\033[K",
                     "<1>[OVK-BW] SMI Larb: 0 port: 3 type: W\033[K",
                     "<1>[OVK-BW] w_bw: 200, effi: 80, \\c", shares[0], shares[1],
                     "<1>[OVK-BW] larb_data_bw: 500, larb_bus_bw: 625 \033[K", "<1>\033[K"}));
    clean_read(r, "bw_scomm");
    EXPECT_EQ(r.log(),
              (lines{"<1>[OVK-BW] SMI Common: 0 port: 0\033[K",
                     "<1>[OVK-BW] r_bw: 300, w_bw: 200, effi: 80, \\c", shares[0], shares[1]}));
}

namespace {

using setting = std::pair<const char *, const char *>;  // attribute and text
using pins = std::vector<std::pair<const char *, std::uint32_t>>;

// Rows that a report has after some settings.
struct figures {
    const char *attribute;
    lines rows;
    std::vector<setting> settings = {};
};

void expect_figures(const devicetree::flat_tree &tree, const std::vector<soc::source> &traffic,
                    const pins &pinned, const std::vector<figures> &reports) {
    rig r(devicetree::flat_tree::from_blob(tree.blob()));

    r.loaded().run(traffic);
    r.pin(pinned);
    for (const figures &each : reports) {
        for (const auto &[attribute, text] : each.settings) {
            r.write(attribute, text);
        }
        const std::string report = r.read(each.attribute);
        for (const std::string &row : each.rows) {
            EXPECT_EQ(row_with(report, row), row) << report;
        }
    }
}

}  // namespace

TEST(total_figures, do_without_a_theoretical_bandwidth_a_reference_or_a_monitor) {
    const soc::flow half{.read = 640, .efficiency = 50};

    expect_figures(chip_of(0), {at_larb(0, 3, {.read = 500, .efficiency = 100})}, {},
                   {{"bw_total", {"0 GOP GFX 500 100 500 0 0", "0 500 -500", "100% 0% 0%"}}});
    expect_figures(
        port_chip()
            .with_property("/ref", "module-name", std::string("REF_EMX", 8))
            .with_property("/sum", "module-name", std::string("SUN", 4)),
        {at_larb(0, 3, half), at_common(0, 3, half)}, {},
        {{"bw_total", {"0 GOP GFX 640 50 1280 0 0", "3 SUN ALL 0 0 0 0 0", "12800 2560 10240"}}});
    expect_figures(port_chip({"3"}, "8"), {at_common(8, 1, half)}, {},
                   {{"bw_total", {"1 TSP TS 640 0 0 0 0"}}});
}

// A time of 0 has no rate, a clock of 0 no period; 5 s of 2000 MB/s are 10^10 bytes, of which
// 1,410,065,408 remain in 32 bits.
TEST(port_figures, follow_the_arithmetic_at_times_and_a_clock_of_0_and_at_long_times) {
    const soc::flow flow{.read = 2000, .efficiency = 50};

    expect_figures(port_chip().with_u32("/dram_config", "smi_clock", 0),
                   {at_larb(0, 3, flow), at_common(1, 1, flow)}, {},
                   {{"bw_larb", {"3 0 0 0 0 0 0 0 0 0 0"}, {{"bw_larb", "0 0"}}},
                    {"bw_larb", {"3 0 0 0 2000 0 0 7 50 0 0"}, {{"bw_larb", "0 16"}}},
                    {"bw_larb", {"3 0 0 0 282 0 0 7 50 0 0"}, {{"bw_larb", "0 5000"}}},
                    {"bw_scomm", {""}, {{"bw_scomm", "0"}}},
                    {"bw_scomm", {"In 1 2000 0 0 0 7 50 0 0"}, {{"bw_scomm", "16"}}},
                    {"bw_scomm", {"In 1 282 0 0 0 7 50 0 0"}, {{"bw_scomm", "5000"}}},
                    {"bw_total", {"3 SUM ALL 0 0 0 0 0"}, {{"bw_total", "0 1 0 0\n"}}}});
}

// Each port reads and writes 0x0fffffff units of 16 bytes in 1 ms, 4,294,967 MB/s, at 1 %:
// 429,496,700 on the bus. Twelve of these are 5,153,960,400, in 32 bits 858,993,104. With ten of
// them and twice 148 MB/s at 100 %, the lower 32 bits are 0.
TEST(port_figures, have_sums_of_64_bits_by_32_of_which_the_efficiency_divides) {
    const pins full = {{"larb0+0x418", 0x0fffffff}, {"larb1+0x418", 9250},
                       {"smi_common0+0x220", 4},    {"effi_monitor0+0x34", 1},
                       {"effi_monitor0+0x2c", 1},   {"effi_monitor1+0x34", 1},
                       {"effi_monitor1+0x2c", 100}};
    const setting in_1_ms = {"bw_larb", "0 1\n"};

    expect_figures(port_chip({"0 1 2 3 4 5"}), {}, full,
                   {{"bw_larb", {"51539604 6 5153960400"}, {in_1_ms}}});
    expect_figures(port_chip({"0 1 2 3 4", "0"}), {}, full,
                   {{"bw_larb", {"42949966 0 4294967296"}, {in_1_ms}}});
}

// The monitor takes any number; the settings of a port end with their registers.
TEST(port_figures, beyond_the_last_port_have_the_settings_that_have_a_register) {
    expect_figures(port_chip({"3 32 33 128"}), {},
                   {{"larb0+0x284", 0x1ab}, {"larb0+0x078", ~0u}, {"larb0+0x07c", ~0u}},
                   {{"bw_larb",
                     {"3 0 1 1 0 0 0 0 0 0 0", "32 0 0 0 0 0 0 0 0 0 0", "33 ab 0 0 0 0 0 0 0 0 0",
                      "128 0 0 0 0 0 0 0 0 0 0"}}});
}

// Requests of ports from 8 on have no latency sum of their own. 10 s are 3,705,032,704 cycles in 32
// bits or 4.63 s, in which 4000 MB/s on two channels are 9,262,581,760 bytes on each, of which
// 672,647,168 remain in 32 bits.
TEST(emi_figures, end_with_the_ports_and_keep_32_bits) {
    const auto chip_with_ports = [](std::uint32_t count) {
        return port_chip().with_u32("/emi_arch", "emi_port_cnt", count);
    };
    const soc::flow flow{.read = 80, .write = 20};

    expect_figures(chip_with_ports(7), {at_emi(6, flow)}, {},
                   {{"bw_emi", {"6 100 70 1 142 200", "ALL 100 70 - 142 -"}}});
    expect_figures(chip_with_ports(24), {at_emi(23, flow)}, {},
                   {{"bw_emi", {"23 100 70 1 142 0", "ALL 100 70 - 142 -"}}});
    expect_figures(port_chip().with_u32("/dram_config", "emi_clock", 0), {at_emi(3, flow)}, {},
                   {{"bw_emi", {"3 0 70 1 0 0"}}});
    expect_figures(port_chip(), {at_emi(3, {.read = 4000, .latency = 100})}, {},
                   {{"bw_emi", {"3 134 70 1 191 100"}, {{"bw_emi", "10000\n"}}}});
}

// Of 12,800 MB/s; at 70 % every 7 MB/s cost 10.
TEST(bus_usage, is_a_whole_percentage_up_to_100_and_0_of_nothing) {
    for (const auto &[rate, usage] :
         {std::pair{0u, "0%"}, {89u, "0%"}, {90u, "1%"}, {5108u, "57%"}, {20'000u, "100%"}}) {
        expect_figures(port_chip(), {at_common(0, 3, {.read = rate})}, {}, {{"bw_bus", {usage}}});
    }
    for (const auto &[node, setting] :
         {std::pair{"/dram_config", "dram_clock"}, {"/emi_arch", "emi_port_cnt"}}) {
        expect_figures(port_chip().with_u32(node, setting, 0), {at_common(0, 3, {.read = 100})}, {},
                       {{"bw_bus", {"0%"}}});
    }
}

}  // namespace tests
