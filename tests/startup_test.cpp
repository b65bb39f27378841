// SPDX-License-Identifier: GPL-2.0-only
// Loading: what is logged and published, what makes it fail, and what is left behind then.
#include "platform/host/services.h"
#include "tests/attribute_list.h"
#include "tests/compiled.h"
#include "tests/pattern.h"
#include "tests/rig.h"

namespace tests {

namespace {

using devicetree::flat_tree;
using host::fault_kind;

lines operator+(lines first, const lines &then) {
    first.insert(first.end(), then.begin(), then.end());
    return first;
}

lines added(const lines &groups) {
    lines log;
    for (const std::string &group : groups) {
        log.push_back("<5>[OVK-BW] add node: " + group + " \033[K");
    }
    return log;
}

// All that the smallest chip logs while it loads.
const lines whole_load =
    lines{"<6>chip dram clock:[2666]"} + lines(4, "<3>effi table idx: [1]") +
    added({"vdec_larb0", "vdec_larb1", "hdmirx_larb1", "scl_larb2", "scl_comm0", "gop_larb3",
           "aud_larb4", "peri_comm0", "peri_comm1", "bist_engine1", "bist_engine0"}) +
    lines{"<3>[OVK_BW] fifo_cnt: 0"};

// How many of these lines have come when loading has got so far.
enum progress {
    at_start = 0,
    after_clock = 1,
    after_probes = 5,
    after_vdec = 7,
    before_engines = 14,
    before_fifos = 16,
    at_end = 17
};

// The log of a load that got that far and then failed with these messages.
lines failed_load(progress reached, const lines &messages) {
    const lines before(whole_load.begin(), whole_load.begin() + reached);
    const lines unbinding(reached < after_probes ? 0 : 4, "<6>[OVK_BW] OVK EFFI Remove");

    return before + messages + unbinding;
}

const lines no_dram_config = {"<3>[OVK_BW]Failed to init ovk_bw_setup_dram_config"};
const lines no_emi_arch = {"<3>[OVK_BW]Failed to init ovk_bw_setup_emi_arch_config"};
const lines no_measurement = {"<3>[OVK_BW]Failed to init ovk_bw_measure_init"};
const lines bad_list = lines{"<3>[OVK_BW]set_module_list error"} + no_measurement;
const lines no_list = lines{"<3>[OVK_BW]no module list"} + bad_list;
const lines bad_fifos = lines{"<3>[OVK_BW]set_fifo_list error"} + no_measurement;
const lines no_default = lines{"<3>[OVK_BW]set set_bw_monitor_default_cfg error"} + no_measurement;

lines load(rig &r, long code = 0) {
    EXPECT_EQ(r.machine().load(), code);
    return r.log();
}

void expect_failure(rig &r, long code, const lines &log) {
    EXPECT_EQ(load(r, code), log);
    EXPECT_FALSE(r.machine().loaded());
    EXPECT_TRUE(r.machine().attributes().empty());
    EXPECT_EQ(r.machine().take_oopses(), lines{});  // one for each thing left behind
}

void expect_failure(flat_tree tree, const lines &log) {
    rig r(std::move(tree));

    expect_failure(r, -1, log);
}

void expect_clean_load(rig &r) {
    EXPECT_EQ(load(r), whole_load);
    EXPECT_EQ(names_and_modes(r.machine().attributes()), names_and_modes(attribute_list()));
}

// A property, or a node, that loading needs.
struct need {
    const char *path;
    const char *property;  // null: the node itself
    progress reached;
    const lines &messages;
};

const need needs[] = {
    {"/dram_config", nullptr, at_start, no_dram_config},
    {"/dram_config", "bus_width", at_start, no_dram_config},
    {"/dram_config", "dram_clock", at_start, no_dram_config},
    {"/dram_config", "dram_penalty", after_clock, no_dram_config},
    {"/dram_config", "emi_clock", after_clock, no_dram_config},
    {"/dram_config", "smi_clock", after_clock, no_dram_config},
    {"/emi_arch", nullptr, after_probes, no_emi_arch},
    {"/emi_arch", "emi_cnt", after_probes, no_emi_arch},
    {"/emi_arch", "emi_port_cnt", after_probes, no_emi_arch},
    {"/emi_arch", "smi_common_cnt", after_probes, no_emi_arch},
    {"/bw_modules", nullptr, after_probes, no_list},
    {"/bw_modules/bw_cpu", "module-name", after_probes, bad_list},
    {"/bw_modules/bw_hdmirx", "domain", after_vdec, bad_list},
    {"/bw_modules/bw_hdmirx", "module-id", after_vdec, bad_list},
    {"/bw_modules/bw_bist", "alignment", before_engines, bad_list},
};

lines creation_failure(const attribute &each) {
    const std::string name = each.name;
    const lines own = {"<" + std::to_string(each.level) + ">[OVK_BW]" +
                       (name == "reg_op" ? "regop" : name) + " create attribute error"};
    const std::string group = each.group;

    return own + (group.empty() ? lines{} : lines{"<3>[OVK_BW]create_" + group + "_node fail"}) +
           lines{"<3>[OVK_BW]Failed to create_sysfs_node"};
}

flat_tree renamed(const flat_tree &tree, const std::string &module, const std::string &name) {
    return tree.with_property("/bw_modules/" + module, "module-name", name + '\0');
}

std::string module_node(int id, const std::string &name, const std::string &groups = "") {
    return "m" + std::to_string(id) + " { device_type = \"bw\"; domain = \"TS\"; module-name = \"" +
           name + "\"; module-id = <" + std::to_string(id) + ">; " + groups + " };";
}

// A chip of which nothing but the module list matters: these modules, then GOP, REF_EMI and SUM.
flat_tree list_of(const std::string &modules, int count) {
    const std::string source =
        "/dts-v1/; / { dram_config { bus_width = <32>; dram_clock = <3200>; dram_penalty = <85>;"
        " emi_clock = <800>; smi_clock = <624>; };"
        " emi_arch { emi_cnt = <0>; emi_port_cnt = <0>; smi_common_cnt = <0>; }; bw_modules {" +
        modules + module_node(count, "GOP") + module_node(count + 1, "REF_EMI") +
        module_node(count + 2, "SUM") + "}; };";

    return compiled(source);
}

}  // namespace

TEST(startup, logs_every_step_and_publishes_all_attributes_in_order_again_and_again) {
    rig r("zt420");

    for (int turn = 0; turn < 20 && !HasFailure(); turn++) {
        expect_clean_load(r);
        EXPECT_EQ(r.machine().unload(), 0);
        EXPECT_EQ(r.log(), lines(4, "<6>[OVK_BW] OVK EFFI Remove"));
        EXPECT_TRUE(r.machine().attributes().empty());
    }
}

TEST(startup, fails_without_any_part_of_the_tree_that_it_needs) {
    const flat_tree tree = sim::chip_tree("zt420");

    for (const auto &[path, property, reached, messages] : needs) {
        SCOPED_TRACE(std::string(path) + " " + (property ? property : ""));
        expect_failure(property ? tree.without_property(path, property) : tree.without_node(path),
                       failed_load(reached, messages));
    }
}

TEST(startup, fails_when_the_tree_is_wrong) {
    const flat_tree tree = sim::chip_tree("zt420");
    const std::string fifo = std::string("fifo") + '\0';
    struct {
        const char *fault;
        flat_tree wrong;
        lines log;
    } cases[] = {
        {"half a cell", tree.with_property("/dram_config", "emi_clock", "\1\1"),
         failed_load(after_clock, no_dram_config)},
        {"a second traffic generator",
         renamed(tree, "bw_aud", "BIST").with_u32("/bw_modules/bw_aud", "alignment", 3),
         failed_load(before_engines, bad_list)},
        {"a FIFO without a name", tree.with_property("/soc/miu2gmc1@1d101000", "device_type", fifo),
         failed_load(before_fifos, lines{"<3>[OVK_BW] fifo_cnt: 1"} + bad_fifos)},
        {"no GOP", renamed(tree, "bw_gop", "GOP0"), failed_load(at_end, no_default)}};

    for (auto &[fault, wrong, log] : cases) {
        SCOPED_TRACE(fault);
        expect_failure(std::move(wrong), log);
    }
}

TEST(startup, fails_with_the_code_of_an_attribute_that_cannot_be_created) {
    std::uint64_t position = 0;

    for (const attribute &each : attribute_list()) {
        SCOPED_TRACE(each.name);
        rig r("zt420");
        r.machine().fail_named(fault_kind::attribute, each.name);
        expect_failure(r, -12, failed_load(at_end, creation_failure(each)));
        EXPECT_EQ(r.machine().requests(fault_kind::attribute), ++position);
    }
}

// Another driver has the name. The host kernel takes it away, with a remark, when the load fails.
TEST(startup, fails_with_the_code_of_a_driver_that_cannot_be_registered) {
    const struct {
        const char *driver;
        progress reached;
        const char *message;
    } cases[] = {
        {"ovk-effi", after_clock, "<3>[OVK_BW]Failed to register ovk_effi_monitor driver"},
        {"ovk-bw", after_probes, "<3>[OVK_BW]Failed to register ovk_bw_monitor driver"},
    };

    for (const auto &each : cases) {
        rig r("zt420");
        ovk_platform_driver other{};
        other.name = each.driver;
        ASSERT_EQ(ovk_kernel_platform_driver_register(&other), 0);
        EXPECT_EQ(load(r, -16), failed_load(each.reached, {each.message}));
        const lines oopses = r.machine().take_oopses();
        ASSERT_EQ(oopses.size(), 1u);
        EXPECT_NE(oopses[0].find("driver: " + std::string(each.driver)), std::string::npos);
        expect_clean_load(r);
    }
}

TEST(platform_configuration, takes_the_lowest_known_channel_frequency) {
    const struct {
        std::vector<std::uint32_t> channels;
        std::uint32_t bus_width;
        const char *clock;
        const char *total;
    } cases[] = {
        {{0, 3200, 2666}, 16, "2666", "  5332"},
        {{2133, 0, 3200}, 32, "2133", "  8532"},
        {{0, 0}, 32, "3200", " 12800"},
        {{2666}, 12, "2666", "  2666"},
        {{2666}, 7, "2666", "     0"},
        {{2666}, 0xffffffff, "2666", "1073739158"},  // (2^29 - 1) * 2666 in 32 bits
        {{}, 16, "3200", "  6400"},
    };
    const flat_tree tree = sim::chip_tree("zt420").without_property("/dramc", "channel-freq");

    for (const auto &each : cases) {
        rig r(tree.with_u32("/dram_config", "bus_width", each.bus_width), each.channels);
        const lines log = load(r);
        const std::size_t clock = each.channels.empty() ? 1 : 0;
        EXPECT_EQ(log[clock], std::string("<6>chip dram clock:[") + each.clock + "]");
        EXPECT_EQ(log[0] == "<3>[OVK_BW]Failed to fetch dramc info", each.channels.empty());
        r.write("simple_mon", "1");
        const std::string line = std::string("\nTotal     : ") + each.total + " MB/s (100%)";
        EXPECT_NE(r.read("bw_total").find(line), std::string::npos) << line;
    }
}

// The DRAM controller may answer with an error code. It is no number of channels to ask memory for.
TEST(platform_configuration, does_without_channels_or_the_memory_for_them) {
    std::uint64_t requests_without = 0;

    for (const std::uint32_t count : {0u, 2u, 0x80000000u, 0xffffffedu}) {
        rig r(sim::chip_tree("zt420").with_u32("/dramc", "channel-cnt", count));
        r.machine().fail_nth(fault_kind::allocation, count == 2 ? 1 : 0);
        const lines log = load(r);
        EXPECT_EQ(log[0], "<3>[OVK_BW]Failed to fetch dramc info") << count;
        EXPECT_EQ(log[1], "<6>chip dram clock:[3200]") << count;
        const std::uint64_t requests = r.machine().requests(fault_kind::allocation);
        requests_without = count == 0 ? requests : requests_without;
        EXPECT_EQ(requests, requests_without + (count == 2 ? 1 : 0)) << count;
    }
}

// An idle CPU shows what its monitors measured, 0 %, or the 64 % assumed where there are none.
TEST(platform_configuration, learns_from_the_tree_whether_EMI_ports_have_monitors) {
    const flat_tree tree = sim::chip_tree("zt430");
    const std::string row = "   0       CPU         CPU           0          ";

    EXPECT_NE(rig("zt430").loaded().read("bw_total").find(row + " 0"), std::string::npos);
    rig without(tree.without_property("/emi_arch", "emi-effi-monitor"));
    EXPECT_NE(without.loaded().read("bw_total").find(row + "64"), std::string::npos);
}

TEST(module_list, logs_a_missing_reference_module_once) {
    const flat_tree tree = sim::chip_tree("zt420");
    flat_tree variations[] = {tree.without_node("/bw_modules/bw_sum"),
                              tree.without_node("/bw_modules/bw_ref_emi"),
                              renamed(renamed(tree, "bw_sum", "SU"), "bw_ref_emi", "REF_EM"),
                              renamed(tree, "bw_ref_emi", "REF_EMI2")};
    lines log = whole_load;
    log.insert(log.end() - 1, "<3>[OVK_BW]get_module_id_by_name fail");

    for (flat_tree &variation : variations) {
        SCOPED_TRACE(&variation - variations);
        rig r(std::move(variation));
        EXPECT_EQ(load(r), log);
    }
}

// With the first one disabled, SUM has the CPU's 1000 MB/s and what the second one counts: all.
TEST(module_list, takes_the_first_of_two_reference_modules) {
    rig r(renamed(sim::chip_tree("zt420"), "bw_gpu", "REF_EMI"));
    soc::scenario traffic;
    traffic.sources.push_back({soc::source_kind::emi_port, 0, 0, {.read = 1000}});
    r.chip().set_scenario(traffic);
    r.loaded().write("bw_total", "1 0 16 0");

    EXPECT_NE(r.read("bw_total").find("  10       SUM         ALL        2000"), std::string::npos);
}

// The slot of a group without ports or number is the next one's. One that is neither larb nor
// common is passed over, in a module of several parts with a message.
TEST(module_list, holds_modules_with_all_their_groups) {
    rig r(list_of(
        module_node(0, "PLAIN") +
            module_node(1, "BOTH",
                        "a { larb-id = <4>; port-list = <0 2>; }; n { };"
                        "b { common-id = <1>; port-list = <7>; };"
                        "x { status = \"disabled\"; larb-id = <5>; port-list = <1>; };"
                        "c { larb-id = <3>; port-list = <31>; };") +
            module_node(2, "MIX",
                        "mix-module; m { d { larb-id = <6>; port-list = <1>; }; };"
                        "n { e { }; f { common-id = <2>; port-list = <0 3>; }; };") +
            module_node(3, "LARBS",
                        "g { larb-id = <4>; }; h { larb-id = <7>; port-list = <1 2>; };") +
            module_node(4, "COMMONS",
                        "i { common-id = <1>; }; j { common-id = <2>; port-list = <5>; };") +
            module_node(5, "BYTES",
                        "k { larb-id = [01]; port-list = <3>; };"
                        "l { larb-id = <7>; port-list = <1>; };"),
        6));

    EXPECT_EQ(load(r),
              (lines{"<3>[OVK_BW]Failed to fetch dramc info", "<6>chip dram clock:[3200]"} +
               added({"a", "b", "c", "d"}) + lines{"<3>[OVK_BW] error to parse larb/common id"} +
               added({"f", "g", "h", "i", "j", "k", "l"}) + lines{"<3>[OVK_BW] fifo_cnt: 0"}));
    EXPECT_EQ(plain(r.read("ip_config")),
              "Module :   PLAIN   / ID: 0\n\n"
              "Module :   BOTH   / ID: 1\n"
              "SMI_LARB_4 : PORT[ 0 2 ]\nSMI_LARB_3 : PORT[ 31 ]\nSMI_COMM_1 : PORT[ 7 ]\n\n"
              "Module :   MIX   / ID: 2\nSMI_LARB_6 : PORT[ 1 ]\nSMI_COMM_2 : PORT[ 0 3 ]\n\n"
              "Module :   LARBS   / ID: 3\nSMI_LARB_7 : PORT[ 1 2 ]\nSMI_LARB_0 : PORT[ ]\n\n"
              "Module :   COMMONS   / ID: 4\nSMI_COMM_2 : PORT[ 5 ]\nSMI_COMM_0 : PORT[ ]\n\n"
              "Module :   BYTES   / ID: 5\nSMI_LARB_7 : PORT[ 1 ]\nSMI_LARB_0 : PORT[ ]\n\n"
              "Module :   GOP   / ID: 6\n\n");
}

// SUM and REF_EMI are the last two of three modules, whatever they call themselves: the first
// number that is no position, and one far beyond.
TEST(module_list, knows_references_by_their_position_when_their_id_is_none) {
    const flat_tree tree = list_of("", 0)
                               .with_u32("/bw_modules/m1", "module-id", 50)
                               .with_u32("/bw_modules/m2", "module-id", 3);
    rig r(flat_tree::from_blob(tree.blob()));
    r.loaded();

    r.write("bw_larb", "2 16\n");
    EXPECT_EQ(r.log(), lines{"<6>[OVK_BW]Set Module ID = 2, Time= 16"});
    r.write("bw_larb", "3 16\n");
    EXPECT_EQ(r.log(), lines{"<3>[OVK_BW]Wrong Argument!!"});
}

// Numbered by their positions, not by their ids.
TEST(listings, show_modules_with_larbs_three_to_a_line) {
    std::string four;
    for (int id = 10; id <= 40; id += 10) {
        four += module_node(id, "LARB" + std::to_string(id), "a { larb-id = <1>; };");
    }

    EXPECT_EQ(rig(list_of(four, 4)).loaded().read("larb_module_list"),
              "0 : LARB10       1 : LARB20       2 : LARB30       \n3 : LARB40       \n");
    EXPECT_EQ(rig(list_of("", 0)).loaded().read("larb_module_list"), "\n");
}

TEST(listings, show_no_EMI_port_without_the_channel_or_its_ports) {
    const flat_tree tree = sim::chip_tree("zt420");
    flat_tree variations[] = {tree.without_node("/soc/emi_cen0@1d010000"),
                              tree.with_u32("/emi_arch", "emi_port_cnt", 0)};

    for (flat_tree &variation : variations) {
        rig r(std::move(variation));
        r.loaded().machine().set_tracing(true);
        EXPECT_EQ(r.read("emi_setting"), "");
        EXPECT_EQ(r.trace(), lines{});
        EXPECT_EQ(r.log(), lines{});
    }
}

}  // namespace tests
