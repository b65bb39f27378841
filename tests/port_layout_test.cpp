// SPDX-License-Identifier: GPL-2.0-only
// The port reports byte for byte, at their limits, what they refuse and what they do without.
#include "tests/port_chip.h"
#include "tests/report_text.h"
#include "tests/watched_bus.h"

namespace tests {

namespace {

using soc::source_kind;

constexpr const char *end_of_line = "\033[K\n";
constexpr const char *wrong = "[OVK_BW]Wrong Argument!!";

void set_traffic(rig &r, std::vector<soc::source> sources, std::vector<soc::preset> presets = {}) {
    soc::scenario traffic;

    traffic.sources = std::move(sources);
    traffic.presets = std::move(presets);
    r.set_scenario(traffic);
}

soc::source larb(std::uint32_t number, std::uint32_t port, soc::flow traffic) {
    return {source_kind::larb_port, number, port, traffic};
}

soc::source input(std::uint32_t common, std::uint32_t port, soc::flow traffic) {
    return {source_kind::common_input, common, port, traffic};
}

soc::source emi(std::uint32_t port, soc::flow traffic) {
    return {source_kind::emi_port, 0, port, traffic};
}

template <typename... values>
std::string text(const char *format, values... each) {
    char line[256];

    std::snprintf(line, sizeof(line), format, each...);
    return line;
}

std::string times(std::size_t count, const std::string &part) {
    std::string all;

    for (std::size_t i = 0; i < count; i++) {
        all += part;
    }
    return all;
}

std::string start() {
    return "Starting Monitor......\033[K\n\033[K\n";
}

std::string up(std::size_t count) {
    return times(count, "\033[1A");
}

std::string larb_head(const std::string &name) {
    return start() + "Module : \033[46;30m  " + name +
           "  \033[0m\033[K\n\033[K\n"
           "OL: Outstanding Limit(Hex)\033[K\n"
           "U: Force ultra PU: Force pre-ultra\033[K\n"
           "R_BW / W_BW: R/W BW (MB/s)\033[K\n"
           "M_CP: MAX CP(ns)\033[K\n"
           "B: AVG Burst\033[K\n"
           "E: Efficiency\033[K\n"
           "UR: Ultra ratio\033[K\n"
           "PUR: Pre-Ultra ratio\033[K\n\033[K\n";
}

std::string larb_block(const std::string &indent, int number, const lines &rows) {
    std::string block = indent + text("SMI_LARB %d\033[K\n", number) + indent +
                        "\033[7m ID  OL  U PU  R_BW  W_BW  M_CP    B    E   UR  PUR\033[0m\033[K\n";

    for (const std::string &row : rows) {
        block += indent + "\033[0m" + row + end_of_line;
    }
    return block;
}

std::string left(int number, const lines &rows) {
    return larb_block("", number, rows);
}

std::string right(int number, const lines &rows) {
    return larb_block("\033[60C", number, rows);
}

lines idle(std::initializer_list<int> ports) {
    lines rows;

    for (const int port : ports) {
        rows.push_back(text("%3d", port) + "   0  0  0     0     0     0    0    0    0    0");
    }
    return rows;
}

std::string totals(const std::string &figures) {
    return "\033[4m" + times(33, " ") +
           "\033[0m\033[K\n"
           "\033[7m| Data BW  |   Effi  |  Bus BW  |\033[0m\033[K\n"
           "\033[0m\033[4m" +
           figures + "\033[0m\033[K\n\033[0m\033[K\n";
}

const char *const no_totals = "|      0   |      0  |       0  |";

std::string common_head(int number) {
    return text("SMI_COMMON %d\033[K\n", number) +
           "\033[7m TYPE PORT     R_BW     W_BW  M_RCP  M_WCP BURST  EFFI    UR   "
           "PUR\033[0m\033[K\n";
}

std::string common_row(const std::string &row) {
    return "\033[0m" + row + end_of_line;
}

std::string emi_head() {
    return start() +
           "BW_LMT; RD/WR_TIMER; RD/WR_OSTD: Bandwidth info.(HEX)\033[K\n"
           "DATA_BW: Data Bandwidth (MB/s)\033[K\n"
           "BUS_BW: Bus Bandwidth (MB/s)\033[K\n"
           "EFFI: Efficiency (%)\033[K\n"
           "LATENCY: Average latency (ns)\033[K\n"
           "\033[K\n"
           "CENTRAL_EMI ALL\033[K\n"
           "\033[7m PORT   DATA_BW   EFFI(%)     BURST    BUS_BW   LATENCY\033[0m\033[K\n";
}

std::string emi_row(unsigned port, unsigned data, unsigned latency) {
    return text("%5u%10u        70         1%10u%10u\033[K\n", port, data, data * 100 / 70,
                latency);
}

std::string emi_sum(unsigned data, unsigned effi, unsigned bus) {
    return text("  ALL%10u%10u         -%10u         -\033[K\n\033[K\n", data, effi, bus);
}

std::string emi_detail_head(int channel) {
    return text("CENTRAL_EMI %d\033[K\n", channel) +
           "\033[7m PORT BW_LMT RTIMER WTIMER  ROSTD  WOSTD   DATA_BW   EFFI(%)     BURST    BUS_BW"
           "   LATENCY\033[0m\033[K\n";
}

// A read that must leave nothing behind: no memory, no window, no running monitor.
std::string clean_read(rig &r, const std::string &attribute, long code) {
    const lines held = r.machine().holdings();
    const auto result = r.machine().read(attribute);

    EXPECT_EQ(code >= 0 ? static_cast<long>(result.text.size()) : code, result.code) << attribute;
    EXPECT_EQ(r.machine().holdings(), held) << attribute;
    EXPECT_EQ(left_on(r), lines{}) << attribute;
    return result.text;
}

std::string clean_read(rig &r, const std::string &attribute) {
    return clean_read(r, attribute, 0);
}

std::string row_with(const std::string &report, const std::string &start_of_row) {
    for (const std::string &row : port_rows(report)) {
        if (row.starts_with(start_of_row)) {
            return row;
        }
    }
    return "";
}

std::uint64_t wait_of(rig &r, const std::string &attribute) {
    const std::uint64_t before = r.machine().waited_us();

    clean_read(r, attribute);
    return r.machine().waited_us() - before;
}

const char *const no_larb = "<3>[OVK_BW]Can't find SMI LARB device base!!";
const char *const no_common = "<3>[OVK_BW]Can't find SMI COMMON device base!!";
const char *const no_channel = "<3>[OVK_BW]Can't find EMI device base!!";
const char *const no_monitor = "<3>[OVK_BW]Can't find effi_monitor device base!!";
const char *const no_port_info = "<3>[OVK_BW]Can't get smi common port info!!";
const char *const emi_time_out = "<3>[OVK_BW]EMI monitor time out";

std::string unmapped(const std::string &node) {
    return "<3>[OVK_BW]/" + node + ": of_iomap failed";
}

}  // namespace

// 300 and 200 MB/s at 80 %: 375 and 250 on the bus.
TEST(larb_layout, one_larb_ends_with_an_empty_line) {
    rig r(port_chip({"3 0"}));
    r.loaded();
    set_traffic(
        r,
        {larb(0, 3,
              {.read = 300,
               .write = 200,
               .efficiency = 80,
               .ultra = 25,
               .preultra = 50,
               .burst = 9,
               .period = 1400})},
        {{"larb0", 0x20c, 0xab}, {"larb0", 0x200, 0x7}, {"larb0", 0x78, 0x8}, {"larb0", 0x7c, 1}});

    EXPECT_EQ(clean_read(r, "bw_larb"),
              larb_head("GOP") +
                  left(0, {"  3  ab  1  0   300   200  1400    9   80   25   50",
                           "  0   7  0  1     0     0     0    0    0    0    0"}) +
                  end_of_line + totals("|    500   |     80  |     625  |"));
}

TEST(larb_layout, a_longer_larb_on_the_right_lengthens_the_left_one_and_a_third_is_left_again) {
    rig r(port_chip({"0 1", "0 1 2 3 4", "31"}));
    r.loaded();

    EXPECT_EQ(clean_read(r, "bw_larb"), larb_head("GOP") + left(0, idle({0, 1})) +
                                            times(3, end_of_line) + up(7) +
                                            right(1, idle({0, 1, 2, 3, 4})) + end_of_line +
                                            left(2, idle({31})) + end_of_line + totals(no_totals));
}

TEST(larb_layout, a_shorter_larb_on_the_right_is_left_below_the_left_one) {
    rig r(port_chip({"0 1 2", "7"}));
    r.loaded();

    EXPECT_EQ(clean_read(r, "bw_larb"),
              larb_head("GOP") + left(0, idle({0, 1, 2})) + up(5) + right(1, idle({7})) +
                  "\033[1B\033[1B\033[60C\033[K\033[K\n" + totals(no_totals));
}

TEST(larb_layout, larbs_of_one_length_need_no_padding) {
    rig r(port_chip({"0 1", "4 5"}));
    r.loaded();

    EXPECT_EQ(clean_read(r, "bw_larb"), larb_head("GOP") + left(0, idle({0, 1})) + up(4) +
                                            right(1, idle({4, 5})) + end_of_line +
                                            totals(no_totals));
}

// The tree leaves larb 0's ports out: larb 1 takes its place, and the place that remains is empty
// and not even mapped.
TEST(larb_layout, a_place_without_ports_has_an_empty_block) {
    rig r(port_chip({"0", "4"}).without_property("/gop/gop_larb0", "port-list"));
    r.loaded();
    r.machine().fail_named(host::fault_kind::node, "larb0");

    EXPECT_EQ(clean_read(r, "bw_larb"), larb_head("GOP") + left(1, idle({4})) + up(3) +
                                            right(0, {}) + "\033[1B\033[60C\033[K\033[K\n" +
                                            totals(no_totals));
    EXPECT_EQ(r.log(), lines{});
    r.machine().clear_faults();
}

TEST(larb_layout, a_module_without_larbs_has_one_line) {
    rig r(port_chip());
    r.loaded();

    for (const auto &[id, name] : {std::pair{"1", "TSP"}, {"2", "REF_EMI"}, {"3", "SUM"}}) {
        r.write("bw_larb", std::string(id) + " 16\n");
        EXPECT_EQ(wait_of(r, "bw_larb"), 0u);
        EXPECT_EQ(clean_read(r, "bw_larb"),
                  std::string(name) + " not support larb monitor\033[K\n");
    }
}

TEST(larb_input, a_selection_is_kept_number_by_number_and_judged_afterwards) {
    rig r(port_chip());
    r.loaded();
    const auto shown = [&r] {
        const std::string report = clean_read(r, "bw_larb");
        return report.empty() ? "nothing" : port_rows(report).front();
    };

    EXPECT_EQ(shown(), "Module : GOP");
    r.write("bw_larb", "1 32\n");
    EXPECT_EQ(r.log(), lines{"<6>[OVK_BW]Set Module ID = 1, Time= 32"});
    EXPECT_EQ(shown(), "TSP not support larb monitor");
    // One number: the module changes, the time stays.
    r.write("bw_larb", " 0\n");
    EXPECT_EQ(r.log(), lines{std::string("<3>") + wrong});
    EXPECT_EQ(shown(), "Module : GOP");
    EXPECT_EQ(wait_of(r, "bw_larb"), 3 * 32'000u);
    for (const char *refused : {"4 20\n", "99 20\n", "-1 20\n", "4294967295 20\n"}) {
        r.write("bw_larb", refused);
        EXPECT_EQ(shown(), "nothing");
        EXPECT_EQ(r.log(), (lines(2, std::string("<3>") + wrong))) << refused;
    }
    // Nothing of a text without a number is kept.
    for (const char *refused : {"x 3\n", "\n"}) {
        r.write("bw_larb", refused);
        EXPECT_EQ(shown(), "nothing");
        r.log();
    }
    r.write("bw_larb", "0");
    EXPECT_EQ(wait_of(r, "bw_larb"), 3 * 20'000u);
    r.log();
    r.write("bw_larb", "2 -1\n");
    EXPECT_EQ(r.log(), lines{"<6>[OVK_BW]Set Module ID = 2, Time= -1"});
}

// A time of 0 has no rate, a clock of 0 no period; 5 s of 2000 MB/s are 10^10 bytes, of which
// 1,410,065,408 remain in 32 bits.
TEST(larb_limits, time_and_clock_of_0_and_long_times_do_what_the_arithmetic_says) {
    rig r(port_chip().with_u32("/dram_config", "smi_clock", 0));
    r.loaded();
    set_traffic(r, {larb(0, 3, {.read = 2000, .efficiency = 50})});
    r.pin("larb0+0x430", 77);
    const auto row = [&r] { return row_with(clean_read(r, "bw_larb"), "3 "); };

    r.write("bw_larb", "0 0\n");
    EXPECT_EQ(row(), "3 0 0 0 0 0 0 0 0 0 0");
    r.write("bw_larb", "0 16\n");
    EXPECT_EQ(row(), "3 0 0 0 2000 0 0 7 50 0 0");
    r.write("bw_larb", "0 5000\n");
    EXPECT_EQ(row(), "3 0 0 0 282 0 0 7 50 0 0");
    EXPECT_EQ(r.machine().waited_us(), 3 * 5'016'000u + 2 * 999);
}

// Each port reads and writes 0x0fffffff units of 16 bytes in 1 ms, 4,294,967 MB/s, at 1 %:
// 429,496,700 on the bus. Twelve of these are 5,153,960,400, in 32 bits 858,993,104. With ten of
// them and twice 148 MB/s at 100 %, the lower 32 bits are 0.
TEST(larb_limits, sums_have_64_bits_and_the_efficiency_divides_by_32_of_them) {
    const auto totals_of = [](const std::vector<std::string> &ports) {
        rig r(port_chip(ports));
        r.loaded();
        for (const auto &[place, value] : {std::pair{"larb0+0x418", 0x0fffffffu},
                                           {"larb1+0x418", 9250u},
                                           {"smi_common0+0x220", 4u},
                                           {"effi_monitor0+0x34", 1u},
                                           {"effi_monitor0+0x2c", 1u},
                                           {"effi_monitor1+0x34", 1u},
                                           {"effi_monitor1+0x2c", 100u}}) {
            r.pin(place, value);
        }
        r.write("bw_larb", "0 1\n");
        return port_rows(clean_read(r, "bw_larb")).back();
    };

    EXPECT_EQ(totals_of({"0 1 2 3 4 5"}), "51539604 6 5153960400");
    EXPECT_EQ(totals_of({"0 1 2 3 4", "0"}), "42949966 0 4294967296");
}

// The monitor takes any number; the settings of a port end with their registers.
TEST(larb_limits, ports_beyond_the_last_one_have_the_settings_that_have_a_register) {
    rig r(port_chip({"3 33 128"}));
    r.loaded();
    r.pin("larb0+0x284", 0x1ab);
    r.pin("larb0+0x078", ~0u);
    r.pin("larb0+0x07c", ~0u);
    const std::string report = clean_read(r, "bw_larb");

    EXPECT_EQ(row_with(report, "3 "), "3 0 1 1 0 0 0 0 0 0 0");
    EXPECT_EQ(row_with(report, "33 "), "33 ab 0 0 0 0 0 0 0 0 0");
    EXPECT_EQ(row_with(report, "128 "), "128 0 0 0 0 0 0 0 0 0 0");
}

TEST(larb_failures, a_larb_that_cannot_be_had_ends_the_measurement_and_not_the_report) {
    for (const auto kind : {host::fault_kind::node, host::fault_kind::mapping}) {
        rig r(port_chip({"3", "4", "5"}));
        r.loaded();
        set_traffic(
            r, {larb(0, 3, {.read = 100}), larb(1, 4, {.read = 100}), larb(2, 5, {.read = 100})});
        r.machine().fail_named(kind, "larb1");
        EXPECT_EQ(
            port_rows(clean_read(r, "bw_larb")),
            (lines{"Module : GOP", "SMI_LARB 0", "3 0 0 0 100 0 100 7 80 0 0", "SMI_LARB 1",
                   "4 0 0 0 0 0 0 0 0 0 0", "SMI_LARB 2", "5 0 0 0 0 0 0 0 0 0 0", "100 80 125"}));
        EXPECT_EQ(r.log(), kind == host::fault_kind::node
                               ? lines{no_larb}
                               : (lines{unmapped("larb1@1c016000"), no_larb}));
        r.machine().clear_faults();
    }
}

TEST(larb_failures, a_port_without_efficiency_shows_its_data_alone) {
    struct outcome {
        host::fault_kind kind;
        const char *name;
        lines log;
    };
    using host::fault_kind;
    const outcome outcomes[] = {
        {fault_kind::property, "larb0:quorix,smi-port-id", {}},
        {fault_kind::property, "smi_common0:quorix,common-id", {}},
        {fault_kind::mapping, "smi_common0", {unmapped("smi_common0@1c013000")}},
        {fault_kind::node, "effi_monitor0", {no_monitor}},
        {fault_kind::mapping, "effi_monitor0", {unmapped("effi_monitor0@1c018000"), no_monitor}}};

    for (const outcome &each : outcomes) {
        rig r(port_chip());
        r.loaded();
        set_traffic(r, {larb(0, 3, {.read = 100})});
        r.machine().fail_named(each.kind, each.name);
        const std::string report = clean_read(r, "bw_larb");
        EXPECT_EQ(row_with(report, "3 "), "3 0 0 0 100 0 100 0 0 0 0") << each.name;
        EXPECT_EQ(row_with(report, "100 "), "100 0 0") << each.name;
        EXPECT_EQ(r.log(), each.log) << each.name;
        r.machine().clear_faults();
    }
}

TEST(larb_failures, a_larb_whose_common_is_unknown_has_no_efficiency) {
    rig r(port_chip().without_property("/larb0@1c015000", "quorix,smi"));
    r.loaded();
    set_traffic(r, {larb(0, 3, {.read = 100})});

    EXPECT_EQ(row_with(clean_read(r, "bw_larb"), "3 "), "3 0 0 0 100 0 100 0 0 0 0");
    EXPECT_EQ(r.log(), lines{});
}

TEST(larb_failures, a_monitor_that_hangs_costs_its_poll_limit_in_both_directions) {
    for (const auto &[clock, polls] : {std::pair{800u, 50u}, {432u, 500u}, {456u, 500u}}) {
        rig r(port_chip().with_u32("/dram_config", "emi_clock", clock));
        r.loaded();
        set_traffic(r, {larb(0, 3, {.read = 100, .write = 100})});
        ASSERT_TRUE(r.chip().hang("effi_monitor0"));
        EXPECT_EQ(wait_of(r, "bw_larb"), 3 * 16'000u + 2 * polls * 999);
        EXPECT_EQ(row_with(r.read("bw_larb"), "3 "), "3 0 0 0 100 100 100 0 0 0 0");
        EXPECT_EQ(r.log(), lines{});
    }
}

// Input 0 (larb 0) goes out at path 1, input 3 at path 0. Input 1 of common 1 only reads a trickle
// that its counter does not show.
TEST(common_layout, inputs_come_before_outputs_and_idle_ports_and_commons_are_left_out) {
    rig r(port_chip());
    r.loaded();
    set_traffic(r,
                {larb(0, 3,
                      {.read = 100,
                       .efficiency = 50,
                       .ultra = 10,
                       .preultra = 20,
                       .burst = 4,
                       .period = 600}),
                 input(0, 3, {.write = 40, .efficiency = 80, .preultra = 100, .period = 1200}),
                 input(1, 1, {.read = 1})},
                {{"smi_common0", 0x220, 0x1}});
    r.write("bw_scomm", "1\n");

    EXPECT_EQ(clean_read(r, "bw_scomm"),
              start() + common_head(0) +
                  common_row("   In    0      100        0    600      0     4    50    10    20") +
                  common_row("   In    3        0       40      0   1200     7    80     0   100") +
                  common_row("  Out    0        0       40      0   1200     -     -     -     -") +
                  common_row("  Out    1      100        0    600      0     -     -     -     -") +
                  end_of_line);
    // 100 MB/s of a port that no other shares is an even count also in 1 ms; 1 MB/s is not.
    r.write("bw_scomm", "2\n");
    EXPECT_EQ(row_with(clean_read(r, "bw_scomm"), "SMI_COMMON 1"), "SMI_COMMON 1");
}

TEST(common_layout, active_inputs_alone_print_no_block) {
    rig r(port_chip());
    r.loaded();
    set_traffic(r, {input(0, 3, {.read = 100}), input(1, 1, {.read = 100})});
    r.pin("smi_common0+0x1cc", 0);

    EXPECT_EQ(row_with(clean_read(r, "bw_scomm"), "SMI_COMMON"), "SMI_COMMON 1");
}

TEST(common_layout, a_full_page_ends_the_report) {
    rig r("zt440");
    r.loaded();
    r.set_scenario(sim::find_scenario("zt440", "overload"));
    for (int common = 0; common < 8; common++) {
        r.pin("smi_common" + std::to_string(common) + "+0x1cc", 1'000'000);
    }

    EXPECT_EQ(clean_read(r, "bw_scomm").size(), 4095u);
}

TEST(common_search, takes_the_available_commons_and_misses_the_rest_once) {
    struct outcome {
        std::uint32_t count;
        bool disabled0;
        lines blocks;
        lines log;
    };
    const outcome outcomes[] = {{0, false, {}, {}},
                                {1, false, {"SMI_COMMON 0"}, {}},
                                {2, false, {"SMI_COMMON 0", "SMI_COMMON 1"}, {}},
                                {1, true, {"SMI_COMMON 1"}, {}},
                                {2, true, {"SMI_COMMON 1"}, {no_common}},
                                {9, false, {"SMI_COMMON 0", "SMI_COMMON 1"}, {no_common}}};

    for (const outcome &each : outcomes) {
        devicetree::flat_tree tree =
            port_chip().with_u32("/emi_arch", "smi_common_cnt", each.count);
        rig r(each.disabled0
                  ? tree.with_property(path_of_common0, "status", std::string("disabled", 9))
                  : std::move(tree));
        r.loaded();
        set_traffic(r, {input(0, 3, {.read = 100}), input(1, 1, {.read = 100})});
        const std::string report = clean_read(r, "bw_scomm");
        lines blocks = port_rows(report);
        std::erase_if(blocks, [](const std::string &row) { return row[0] != 'S'; });
        EXPECT_EQ(blocks, each.blocks) << each.count;
        EXPECT_EQ(r.log(), each.log) << each.count;
        EXPECT_TRUE(each.count != 0 || report == start());
    }
}

TEST(common_search, ends_at_number_63) {
    for (const auto &[number, found] : {std::pair{"63", true}, {"64", false}}) {
        rig r(port_chip({"3"}, number));
        r.loaded();
        set_traffic(r, {input(static_cast<std::uint32_t>(std::stoul(number)), 1, {.read = 100})});
        EXPECT_EQ(row_with(clean_read(r, "bw_scomm"), "SMI_COMMON"), found ? "SMI_COMMON 63" : "");
        EXPECT_EQ(r.log(), found ? lines{} : lines{no_common});
    }
}

TEST(common_input, times_are_unsigned_numbers_of_any_base) {
    rig r(port_chip());
    r.loaded();
    const std::uint64_t ports = 6 + 3;

    for (const auto &[number, time] :
         {std::pair{"0x20\n", 32}, {"010\n", 8}, {"5", 5}, {"0\n", 0}, {"+7\n", 7}}) {
        r.write("bw_scomm", number);
        EXPECT_EQ(r.log(), lines{text("<6>[OVK_BW]Set Monitor Time= %d", time)});
        EXPECT_EQ(wait_of(r, "bw_scomm"), 2 * ports * static_cast<unsigned>(time) * 1000);
    }
    for (const char *refused : {"abc\n", "-1\n", "4294967296\n", " 5\n", "5 6\n", "5\n\n", "\n"}) {
        r.write("bw_scomm", refused);
        EXPECT_EQ(r.log(), lines{std::string("<3>") + wrong}) << refused;
    }
    EXPECT_EQ(wait_of(r, "bw_scomm"), 2 * ports * 7000);
    r.write("bw_scomm", "2147483648\n");
    EXPECT_EQ(r.log(), lines{"<6>[OVK_BW]Set Monitor Time= -2147483648"});
}

TEST(common_limits, time_and_clock_of_0_and_long_times_do_what_the_arithmetic_says) {
    rig r(port_chip().with_u32("/dram_config", "smi_clock", 0));
    r.loaded();
    set_traffic(r, {input(1, 1, {.read = 2000, .efficiency = 50})});
    r.pin("smi_common1+0x1dc", 77);

    r.write("bw_scomm", "0\n");
    EXPECT_EQ(clean_read(r, "bw_scomm"), start());
    r.write("bw_scomm", "5000\n");
    EXPECT_EQ(port_rows(clean_read(r, "bw_scomm")),
              (lines{"SMI_COMMON 1", "In 1 282 0 0 0 7 50 0 0", "Out 0 282 0 0 0 - - - -"}));
}

TEST(common_failures, missing_port_counts_empty_the_report) {
    for (const char *property : {"input-port-nr", "output-port-nr"}) {
        rig r(port_chip());
        r.loaded();
        r.machine().fail_named(host::fault_kind::property, std::string("smi_common1:") + property);
        EXPECT_EQ(clean_read(r, "bw_scomm"), "");
        EXPECT_EQ(r.log(),
                  (lines{std::string("<3>[OVK_BW]can't get property: ") + property, no_port_info}));
        r.machine().clear_faults();
    }
}

TEST(common_failures, a_common_that_cannot_be_mapped_ends_the_measurement) {
    rig r(port_chip());
    r.loaded();
    set_traffic(r, {input(0, 3, {.read = 100}), input(1, 1, {.read = 100})});
    r.machine().fail_named(host::fault_kind::mapping, "smi_common1");

    EXPECT_EQ(port_rows(clean_read(r, "bw_scomm")),
              (lines{"SMI_COMMON 0", "In 3 100 0 100 0 7 80 0 0", "Out 0 100 0 100 0 - - - -"}));
    EXPECT_EQ(r.log(), (lines{unmapped("smi_common1@1c014000"), no_common}));
    r.machine().clear_faults();
}

TEST(common_failures, a_common_without_ports_is_passed_over) {
    rig r(port_chip()
              .with_u32(path_of_common0, "input-port-nr", 0)
              .with_u32(path_of_common0, "output-port-nr", 0));
    r.loaded();
    set_traffic(r, {input(1, 1, {.read = 100})});

    EXPECT_EQ(row_with(clean_read(r, "bw_scomm"), "SMI_COMMON"), "SMI_COMMON 1");
}

TEST(common_failures, an_input_without_efficiency_shows_its_data_alone) {
    for (const bool hung : {false, true}) {
        rig r(port_chip());
        r.loaded();
        set_traffic(r, {input(1, 1, {.read = 100})});
        if (hung) {
            ASSERT_TRUE(r.chip().hang("effi_monitor2"));
        } else {
            r.machine().fail_named(host::fault_kind::node, "effi_monitor2");
        }
        EXPECT_EQ(wait_of(r, "bw_scomm"), 18 * 16'000u + (hung ? 50 * 999 : 0));
        EXPECT_EQ(r.log(), hung ? lines{} : lines{no_monitor});
        EXPECT_EQ(row_with(r.read("bw_scomm"), "In"), "In 1 100 0 100 0 0 0 0 0");
        r.machine().clear_faults();
    }
}

// Port p moves p + 1 hundred MB/s. Requests of ports from 8 on have no latency sum of their own.
TEST(emi_layout, total_view_is_exact_for_every_number_of_ports) {
    for (const std::uint32_t ports : {0u, 1u, 6u, 7u, 8u, 12u, 24u}) {
        rig r(port_chip().with_u32("/emi_arch", "emi_port_cnt", ports));
        r.loaded();
        std::vector<soc::source> sources;
        std::string rows;
        unsigned data = 0;
        unsigned bus = 0;
        for (unsigned port = 0; port < ports; port++) {
            const unsigned rate = (port + 1) * 100;
            sources.push_back(emi(port, {.read = rate / 2, .write = rate / 2, .latency = 250}));
            rows += emi_row(port, rate, port < 8 ? 250 : 0);
            data += rate;
            bus += rate * 100 / 70;
        }
        set_traffic(r, sources);
        const std::string sum = emi_sum(data, bus != 0 ? data * 100 / bus : 0, bus);
        EXPECT_EQ(clean_read(r, "bw_emi"), emi_head() + rows + sum) << ports;
        EXPECT_EQ(wait_of(r, "bw_emi"), (ports + 5) / 6 * 16'000) << ports;
    }
}

TEST(emi_layout, detail_view_is_exact_and_port_1_shows_port_0_s_arbitration) {
    rig r(port_chip().with_u32("/emi_arch", "emi_port_cnt", 2));
    r.loaded();
    set_traffic(
        r, {emi(1, {.read = 141, .latency = 300})},
        {{"emi_cen0", 0x100, 0xabcdffea}, {"emi_cen0", 0xd0, 0x4321}, {"emi_cen0", 0xd4, 0x8765}});
    r.write("bw_emi_detail", "1\n");

    EXPECT_EQ(clean_read(r, "bw_emi"),
              start() + emi_detail_head(0) +
                  "    0     2A     CD     AB     51     62         0        70         1         0"
                  "         0\033[K\n"
                  "    1     2A     CD     AB     73     84        71        70         1       101"
                  "       300\033[K\n\033[K\n" +
                  emi_detail_head(1) +
                  "    0      0      0      0      0      0         0        70         1         0"
                  "         0\033[K\n"
                  "    1      0      0      0      0      0        70        70         1       100"
                  "       300\033[K\n\033[K\n");
}

TEST(emi_layout, idle_ports_sum_up_to_an_efficiency_of_0) {
    rig r(port_chip());
    r.loaded();

    EXPECT_NE(clean_read(r, "bw_emi")
                  .find("  ALL         0         0         -         0         -\033[K\n\033[K\n"),
              std::string::npos);
}

TEST(emi_layout, a_detail_view_of_many_ports_is_cut_with_the_page) {
    rig r(port_chip().with_u32("/emi_arch", "emi_port_cnt", 24));
    r.loaded();
    r.write("bw_emi_detail", "1\n");

    EXPECT_EQ(clean_read(r, "bw_emi").size(), 4095u);
}

// Port 9 has the limits of port 1's place in the pair of ports 0 to 3.
TEST(emi_layout, ports_beyond_7_share_the_outstanding_limits_of_the_first_four) {
    rig r(port_chip().with_u32("/emi_arch", "emi_port_cnt", 12));
    r.loaded();
    set_traffic(r, {}, {{"emi_cen0", 0xd0, 0x2100}, {"emi_cen0", 0xd8, 0xff00ffff}});
    r.write("bw_emi_detail", "1\n");

    const std::string report = clean_read(r, "bw_emi");
    EXPECT_TRUE(row_with(report, "9 ").starts_with("9 0 0 0 1 2 "));
    EXPECT_TRUE(row_with(report, "4 ").starts_with("4 0 0 0 F F "));
}

TEST(emi_input, times_are_numbers_above_0_and_views_are_booleans) {
    rig r(port_chip());
    r.loaded();
    const auto is_detail = [&r] {
        return row_with(clean_read(r, "bw_emi"), "CENTRAL") == "CENTRAL_EMI 0";
    };

    r.write("bw_emi", "0x20\n");
    EXPECT_EQ(r.log(), lines{"<6>[OVK_BW]Set Monitor Time= 32"});
    r.write("bw_emi", "0\n");
    EXPECT_EQ(r.log(), lines{"<6>[OVK_BW]time can not be 0"});
    for (const char *refused : {"abc\n", "-1\n", "4294967296\n", "\n", "1 2\n"}) {
        r.write("bw_emi", refused);
        EXPECT_EQ(r.log(), lines{std::string("<6>") + wrong}) << refused;
    }
    EXPECT_EQ(wait_of(r, "bw_emi"), 2 * 32'000u);
    EXPECT_EQ(wait_of(r, "bw_bus"), 2 * 32'000u);
    for (const char *on : {"1\n", "y\n", "Y\n", "on\n", "ON", "yes\n"}) {
        r.write("bw_emi_detail", "0\n");
        EXPECT_EQ(r.log(), lines{"<6>[OVK_BW]Monitor emi bw info in total"});
        EXPECT_FALSE(is_detail());
        r.write("bw_emi_detail", on);
        EXPECT_EQ(r.log(), lines{"<6>[OVK_BW]Monitor emi bw info in detail"}) << on;
        EXPECT_TRUE(is_detail()) << on;
    }
    for (const char *refused : {"2\n", "\n", "x\n", " 0\n", "o\n"}) {
        r.write("bw_emi_detail", refused);
        EXPECT_EQ(r.log(), lines{std::string("<6>") + wrong}) << refused;
        EXPECT_TRUE(is_detail()) << refused;
    }
    for (const char *off : {"n\n", "off\n", "0", "No\n"}) {
        r.write("bw_emi_detail", "on\n");
        r.write("bw_emi_detail", off);
        EXPECT_FALSE(is_detail()) << off;
    }
    EXPECT_EQ(r.read_code("bw_emi_detail"), -13);
}

// 2^31 ms at 800 MHz are no cycles in 32 bits: the run ends at once. 10 s are 3,705,032,704 cycles
// or 4.63 s, in which 4000 MB/s on two channels are 9,262,581,760 bytes on each, of which
// 672,647,168 remain in 32 bits.
TEST(emi_limits, run_lengths_and_counts_keep_32_bits) {
    rig r(port_chip());
    r.loaded();
    set_traffic(r, {emi(3, {.read = 4000, .latency = 100})});

    r.write("bw_emi", "2147483648\n");
    EXPECT_EQ(r.log(), lines{"<6>[OVK_BW]Set Monitor Time= -2147483648"});
    EXPECT_EQ(row_with(clean_read(r, "bw_emi"), "3 "), "3 0 70 1 0 0");
    r.write("bw_emi", "10000\n");
    EXPECT_EQ(row_with(clean_read(r, "bw_emi"), "3 "), "3 134 70 1 191 100");
    EXPECT_EQ(r.machine().waited_us(), 2 * 4'631'291u);
}

TEST(emi_limits, without_a_clock_or_requests_there_is_no_latency) {
    for (const auto &[clock, latency] : {std::pair{0u, "0"}, {432u, "231"}, {800u, "125"}}) {
        rig r(port_chip().with_u32("/dram_config", "emi_clock", clock));
        r.loaded();
        for (const char *channel : {"emi_cen0", "emi_cen1"}) {
            r.pin(std::string(channel) + "+0x508", 1000);
            r.pin(std::string(channel) + "+0x548", 10);
            r.pin(std::string(channel) + "+0x510", 1000);
            r.pin(std::string(channel) + "+0x550", 0);
        }
        const std::string report = clean_read(r, "bw_emi");
        EXPECT_EQ(row_with(report, "1 "), std::string("1 0 70 1 0 ") + latency);
        EXPECT_EQ(row_with(report, "2 "), "2 0 70 1 0 0");
    }
}

// Whoever counts on one of the three channels sees a third.
TEST(emi_limits, channel_counts_from_none_to_four) {
    struct outcome {
        std::uint32_t channels;
        long code;
        const char *row;
        const char *usage;
    };
    const outcome outcomes[] = {{0, 0, "2 0 70 1 0 0", "0%\n"},
                                {1, 0, "2 1000 70 1 1428 200", "3%\n"},
                                {3, 0, "2 3000 70 1 4285 200", "11%\n"},
                                {4, -1, "", ""}};

    for (const outcome &each : outcomes) {
        rig r(sim::chip_tree("zt440").with_u32("/emi_arch", "emi_cnt", each.channels));
        r.loaded();
        set_traffic(r, {emi(2, {.read = 3000})});
        r.machine().set_tracing(true);
        EXPECT_EQ(row_with(clean_read(r, "bw_emi", each.code), "2 "), each.row) << each.channels;
        EXPECT_EQ(clean_read(r, "bw_bus", each.code), each.usage) << each.channels;
        EXPECT_EQ(r.log(), lines{});
        EXPECT_EQ(r.trace().empty(), each.code != 0 || each.channels == 0);
    }
}

TEST(emi_failures, a_channel_that_cannot_be_had_fails_the_read_before_anything_is_programmed) {
    for (const char *attribute : {"bw_emi", "bw_bus"}) {
        for (const auto kind : {host::fault_kind::node, host::fault_kind::mapping}) {
            rig r(port_chip());
            r.loaded();
            r.machine().fail_named(kind, "emi_cen1");
            r.machine().set_tracing(true);
            EXPECT_EQ(clean_read(r, attribute, -1), "");
            EXPECT_EQ(r.log(), kind == host::fault_kind::node
                                   ? lines{no_channel}
                                   : (lines{unmapped("emi_cen1@1c011000"), no_channel}));
            EXPECT_EQ(r.trace(), lines{});
            r.machine().clear_faults();
        }
    }
}

// Writes then reach channel 0 alone.
TEST(emi_failures, without_a_dispatch_block_only_channel_0_is_measured) {
    rig r(port_chip());
    r.loaded();
    set_traffic(r, {emi(2, {.read = 300})});
    r.machine().fail_named(host::fault_kind::node, "emi_dispatch0");

    EXPECT_EQ(row_with(clean_read(r, "bw_emi"), "2 "), "2 150 70 1 214 100");
    for (const std::string &line : r.log()) {
        EXPECT_EQ(line, "<3>[OVK_BW]Can't find EMI_DISPATCH device base!!");
    }
    r.machine().clear_faults();
}

// Each group of ports waits for twice the time and 100 ms, and is then given up.
TEST(emi_failures, a_channel_that_hangs_is_stopped_logged_and_zero) {
    rig r(port_chip());
    r.loaded();
    set_traffic(r, {emi(2, {.read = 300}), emi(7, {.read = 300})});
    EXPECT_EQ(row_with(clean_read(r, "bw_emi"), "ALL"), "ALL 600 70 - 856 -");
    EXPECT_EQ(clean_read(r, "bw_bus"), "6%\n");
    ASSERT_TRUE(r.chip().hang("emi_cen0"));

    EXPECT_EQ(wait_of(r, "bw_emi"), 2 * (2 * 16'000u + 100'000));
    EXPECT_EQ(r.log(), lines(2, emi_time_out));
    const std::string report = clean_read(r, "bw_emi");
    EXPECT_EQ(row_with(report, "2 "), "2 0 70 1 0 0");
    EXPECT_EQ(row_with(report, "ALL"), "ALL 0 0 - 0 -");
    EXPECT_EQ(clean_read(r, "bw_bus", -110), "");
}

// Port 2 is in the first group of ports, port 7 in the second; the latencies of all are those of
// the last run. The monitor is never done in the run before which its control register is pinned.
TEST(emi_failures, a_group_that_hangs_takes_its_counts_and_the_last_one_the_latencies) {
    for (const int hung : {1, 2}) {
        watched_machine w(port_chip(), "emi_cen0", 0x404);
        sim::chip_bus &chip = w.bus.chip();
        int groups = 0;
        chip.set_scenario({"", {emi(2, {.read = 300}), emi(7, {.read = 300})}, {}});
        w.bus.on_access = [&] {
            chip.unpin_all();
            if (++groups == hung) {
                chip.pin(w.register_address - 4, 1);
            }
        };

        const std::string report = w.machine.read("bw_emi").text;
        EXPECT_EQ(row_with(report, "2 "), hung == 1 ? "2 0 70 1 0 200" : "2 300 70 1 428 0");
        EXPECT_EQ(row_with(report, "7 "), hung == 1 ? "7 300 70 1 428 200" : "7 0 70 1 0 0");
        groups = 0;
        EXPECT_EQ(w.machine.read("bw_bus").code, -110);
        chip.unpin_all();
    }
}

// Only channel 0 is asked whether it is done; the other one has counted nothing.
TEST(emi_failures, a_channel_behind_the_first_is_not_waited_for) {
    rig r(port_chip());
    r.loaded();
    set_traffic(r, {emi(2, {.read = 300})});
    ASSERT_TRUE(r.chip().hang("emi_cen1"));

    EXPECT_EQ(wait_of(r, "bw_emi"), 2 * 16'000u);
    EXPECT_EQ(row_with(clean_read(r, "bw_emi"), "2 "), "2 150 70 1 214 100");
    EXPECT_EQ(r.log(), lines{});
}

TEST(emi_failures, a_dispatch_block_that_cannot_be_mapped_is_named_at_every_switch) {
    rig r(port_chip().with_u32("/emi_arch", "emi_port_cnt", 1));
    r.loaded();
    r.machine().fail_named(host::fault_kind::mapping, "emi_dispatch0");
    clean_read(r, "bw_bus");

    // On and off around the measurement, the group and the clean-up, and for each of six slots.
    lines expected;
    for (int switched = 0; switched < 1 + 2 * 6 + 2 + 1 + 2; switched++) {
        expected.push_back(unmapped("emi_dispatch0@1c012000"));
        expected.push_back("<3>[OVK_BW]Can't find EMI_DISPATCH device base!!");
    }
    EXPECT_EQ(r.log(), expected);
    r.machine().clear_faults();
}

// One port and two channels: the second finds the monitor reset, so half of the efficiency is left.
TEST(emi_failures, monitors_that_are_missing_or_hang_cost_the_port_its_efficiency) {
    const auto tree = port_chip()
                          .with_property("/emi_arch", "emi-effi-monitor", "")
                          .with_u32("/emi_arch", "emi_port_cnt", 1);
    struct outcome {
        bool missing;
        bool hung;
        const char *row;
        std::uint64_t polls;
        const char *usage;
    };
    for (const outcome &each : {outcome{false, false, "0 6400 40 5 16000 200", 50, "100%\n"},
                                outcome{false, true, "0 6400 0 1 0 200", 100, "0%\n"},
                                outcome{true, false, "0 6400 0 1 0 200", 0, "0%\n"}}) {
        rig r(tree.with_u32("/emi_arch", "emi_port_cnt", 1));
        r.loaded();
        set_traffic(r, {emi(0, {.read = 6400, .efficiency = 80, .burst = 8})});
        if (each.missing) {
            r.machine().fail_named(host::fault_kind::node, "effi_monitor0");
        }
        EXPECT_EQ(r.chip().hang(each.hung ? "effi_monitor0" : "none"), each.hung);
        EXPECT_EQ(wait_of(r, "bw_emi"), 16'000 + each.polls * 999);
        EXPECT_EQ(r.log(), lines(each.missing ? 4 : 0, no_monitor));
        EXPECT_EQ(row_with(r.read("bw_emi"), "0 "), each.row);
        EXPECT_EQ(clean_read(r, "bw_bus"), each.usage);
        r.machine().clear_faults();
    }
}

TEST(emi_failures, a_monitor_that_cannot_be_mapped_is_named) {
    rig r(port_chip()
              .with_property("/emi_arch", "emi-effi-monitor", "")
              .with_u32("/emi_arch", "emi_port_cnt", 2));
    r.loaded();
    set_traffic(r, {emi(0, {.read = 100, .efficiency = 80}), emi(1, {.read = 100})});
    r.machine().fail_named(host::fault_kind::mapping, "effi_monitor1");

    const std::string report = clean_read(r, "bw_emi");
    EXPECT_EQ(row_with(report, "0 "), "0 100 40 4 250 200");
    EXPECT_EQ(row_with(report, "1 "), "1 100 0 1 0 200");
    lines expected;
    for (int look = 0; look < 4; look++) {
        expected.push_back(unmapped("effi_monitor1@1c019000"));
        expected.push_back(no_monitor);
    }
    EXPECT_EQ(r.log(), expected);
    r.machine().clear_faults();
}

// Of 12,800 MB/s; at 70 % every 7 MB/s cost 10.
TEST(bus_layout, usage_is_a_whole_percentage_up_to_100) {
    for (const auto &[rate, usage] : {std::pair{0u, "0%\n"},
                                      {89u, "0%\n"},
                                      {90u, "1%\n"},
                                      {5108u, "57%\n"},
                                      {8960u, "100%\n"},
                                      {20'000u, "100%\n"}}) {
        rig r(port_chip());
        r.loaded();
        set_traffic(r, {emi(5, {.read = rate})});
        EXPECT_EQ(clean_read(r, "bw_bus"), usage) << rate;
    }
}

TEST(bus_layout, no_theoretical_bandwidth_and_no_ports_mean_no_usage) {
    for (const auto &tree :
         {std::pair{"/dram_config", "dram_clock"}, {"/emi_arch", "emi_port_cnt"}}) {
        rig r(port_chip().with_u32(tree.first, tree.second, 0));
        r.loaded();
        EXPECT_EQ(clean_read(r, "bw_bus"), "0%\n");
    }
    EXPECT_EQ(rig(port_chip()).loaded().machine().write("bw_bus", "1\n"), -13);
}

// 300 and 200 MB/s at 80 % are 375 and 250 on the bus; 256 and 512 of 1024 requests are 25 and 50
// %.
TEST(port_debug_log, follows_every_measured_direction_of_a_larb_port) {
    rig r(port_chip());
    r.loaded();
    set_traffic(r, {larb(0, 3,
                         {.read = 300,
                          .write = 200,
                          .efficiency = 80,
                          .ultra = 25,
                          .preultra = 50,
                          .burst = 9})});
    r.write("debug_log_on", "1\n");
    clean_read(r, "bw_larb");

    const lines shares = {
        "<1>[OVK-BW] cnt_ultra: 256, cnt_pultra: 512 CMD_NUM: 1024\033[K",
        "<1>[OVK-BW] r_ultra: 25, r_pultra: 50, burst: 9\033[K",
    };
    EXPECT_EQ(r.log(),
              (lines{"<1>[OVK-BW] SMI Larb: 0 port: 3 type: R\033[K",
                     "<1>[OVK-BW] r_bw: 300, effi: 80, \\c", shares[0], shares[1],
                     "<1>[OVK-BW] larb_data_bw: 300, larb_bus_bw: 375 \033[K", "<1>\033[K",
                     "<1>[OVK-BW] SMI Larb: 0 port: 3 type: W\033[K",
                     "<1>[OVK-BW] w_bw: 200, effi: 80, \\c", shares[0], shares[1],
                     "<1>[OVK-BW] larb_data_bw: 500, larb_bus_bw: 625 \033[K", "<1>\033[K"}));
}

TEST(port_debug_log, follows_every_measured_input_of_an_SMI_common) {
    rig r(port_chip());
    r.loaded();
    set_traffic(r, {input(0, 3, {.write = 40, .efficiency = 80, .preultra = 100, .burst = 6})});
    r.write("debug_log_on", "4294967295\n");
    clean_read(r, "bw_scomm");

    EXPECT_EQ(r.log(), (lines{"<1>[OVK-BW] SMI Common: 0 port: 3\033[K",
                              "<1>[OVK-BW] r_bw: 0, w_bw: 40, effi: 80, \\c",
                              "<1>[OVK-BW] cnt_ultra: 0, cnt_pultra: 1024 CMD_NUM: 1024\033[K",
                              "<1>[OVK-BW] r_ultra: 0, r_pultra: 100, burst: 6\033[K"}));
}

// At the EMI a monitor is waited for once for each channel, and it isn't done again after a reset.
TEST(port_debug_log, names_an_efficiency_monitor_that_is_not_done) {
    const std::string late0 = "<1>[OVK-BW] EFFI [P0] time out";
    const std::string late1 = "<1>[OVK-BW] EFFI [P1] time out";
    rig r(port_chip()
              .with_property("/emi_arch", "emi-effi-monitor", "")
              .with_u32("/emi_arch", "emi_port_cnt", 2));
    r.loaded();
    set_traffic(r, {emi(0, {.read = 100}), emi(1, {.read = 100})});
    r.write("debug_log_on", "1\n");
    clean_read(r, "bw_emi");
    EXPECT_EQ(r.log(), (lines{late0, late1}));
    ASSERT_TRUE(r.chip().hang("effi_monitor1"));
    clean_read(r, "bw_emi");
    EXPECT_EQ(r.log(), (lines{late0, late1, late1}));
}

}  // namespace tests
