// SPDX-License-Identifier: GPL-2.0-only
// Loading: what is logged and published, what makes it fail, and what is left behind then.
#include "platform/host/services.h"
#include "tests/attribute_list.h"
#include "tests/compiled.h"
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
const lines bad_fifos = lines{"<3>[OVK_BW] fifo_cnt: 1", "<3>[OVK_BW]set_fifo_list error"};
const lines no_default = {"<3>[OVK_BW]set set_bw_monitor_default_cfg error"};

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

void expect_failure(flat_tree tree, progress reached, const lines &messages) {
    rig r(std::move(tree));
    expect_failure(r, -1, failed_load(reached, messages));
}

void expect_clean_load(rig &r) {
    EXPECT_EQ(load(r), whole_load);
    EXPECT_EQ(names_and_modes(r.machine().attributes()), names_and_modes(attribute_list()));
}

lines creation_failure(const attribute &each) {
    const std::string name = each.name == std::string("reg_op") ? "regop" : each.name;
    lines log = {"<" + std::to_string(each.level) + ">[OVK_BW]" + name + " create attribute error"};

    if (*each.group != '\0') {
        log.push_back("<3>[OVK_BW]create_" + std::string(each.group) + "_node fail");
    }
    return log + lines{"<3>[OVK_BW]Failed to create_sysfs_node"};
}

flat_tree renamed(const flat_tree &tree, const std::string &module, const std::string &name) {
    return tree.with_property("/bw_modules/" + module, "module-name", name + '\0');
}

std::string module_node(int id, const std::string &name, const std::string &domain,
                        const std::string &groups = "") {
    return "m" + std::to_string(id) + " { device_type = \"bw\"; module-name = \"" + name +
           "\"; domain = \"" + domain + "\"; module-id = <" + std::to_string(id) + ">; " + groups +
           " };";
}

// A chip of which nothing but the module list matters: these modules, then GOP, REF_EMI and SUM.
flat_tree list_of(const std::string &modules) {
    return compiled(
        "/dts-v1/; / { dram_config { bus_width = <32>; dram_clock = <3200>; dram_penalty = <85>;"
        " emi_clock = <800>; smi_clock = <624>; };"
        " emi_arch { emi_cnt = <0>; emi_port_cnt = <0>; smi_common_cnt = <0>; }; bw_modules {" +
        modules + module_node(0, "GOP", "GFX") + module_node(50, "REF_EMI", "EMI") +
        module_node(3, "SUM", "ALL") + "}; };");
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

    for (const auto &[path, properties, reached, messages] :
         {std::tuple{std::string("/dram_config"), lines{"", "bus_width", "dram_clock"}, at_start,
                     no_dram_config},
          {"/dram_config", {"dram_penalty", "emi_clock", "smi_clock"}, after_clock, no_dram_config},
          {"/emi_arch",
           {"", "emi_cnt", "emi_port_cnt", "smi_common_cnt"},
           after_probes,
           no_emi_arch},
          {"/bw_modules", {""}, after_probes, no_list},
          {"/bw_modules/bw_cpu", {"module-name"}, after_probes, bad_list},
          {"/bw_modules/bw_hdmirx", {"domain", "module-id"}, after_vdec, bad_list},
          {"/bw_modules/bw_bist", {"alignment"}, before_engines, bad_list}}) {
        for (const std::string &name : properties) {
            SCOPED_TRACE(path + " " + name);
            expect_failure(
                name.empty() ? tree.without_node(path) : tree.without_property(path, name), reached,
                messages);
        }
    }
}

TEST(startup, fails_with_a_second_traffic_generator_a_FIFO_without_a_name_or_no_GOP) {
    const flat_tree tree = sim::chip_tree("zt420");

    expect_failure(renamed(tree, "bw_aud", "BIST").with_u32("/bw_modules/bw_aud", "alignment", 3),
                   before_engines, bad_list);
    expect_failure(
        tree.with_property("/soc/miu2gmc1@1d101000", "device_type", std::string("fifo", 5)),
        before_fifos, bad_fifos + no_measurement);
    expect_failure(renamed(tree, "bw_gop", "GOP0"), at_end, no_default + no_measurement);
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
    for (const auto &[name, reached] : {std::pair{"effi", after_clock}, {"bw", after_probes}}) {
        const std::string monitor = name;
        const std::string driver = "ovk-" + monitor;
        rig r("zt420");
        ovk_platform_driver other{};
        other.name = driver.c_str();
        ASSERT_EQ(ovk_kernel_platform_driver_register(&other), 0);
        const lines message = {"<3>[OVK_BW]Failed to register ovk_" + monitor + "_monitor driver"};
        EXPECT_EQ(load(r, -16), failed_load(reached, message));
        const lines oopses = r.machine().take_oopses();
        ASSERT_EQ(oopses.size(), 1u);
        EXPECT_NE(oopses[0].find("driver: " + driver), std::string::npos);
        expect_clean_load(r);
    }
}

TEST(platform_configuration, takes_the_lowest_known_channel_frequency) {
    using frequencies = std::vector<std::uint32_t>;
    const flat_tree tree = sim::chip_tree("zt420").without_property("/dramc", "channel-freq");

    // The last total is (2^29 - 1) * 2666 in 32 bits.
    for (const auto &[channels, bus_width, clock, total] :
         {std::tuple{frequencies{0, 3200, 2666}, 16u, std::string("2666"), "  5332"},
          {{2133, 0, 3200}, 32, "2133", "  8532"},
          {{0, 0}, 32, "3200", " 12800"},
          {{2666}, 15, "2666", "  2666"},
          {{2666}, 0xffffffff, "2666", "1073739158"}}) {
        rig r(tree.with_u32("/dram_config", "bus_width", bus_width), channels);
        EXPECT_EQ(load(r)[0], "<6>chip dram clock:[" + clock + "]");
        r.write("simple_mon", "1");
        const std::string line = std::string("\nTotal     : ") + total + " MB/s (100%)";
        EXPECT_NE(r.read("bw_total").find(line), std::string::npos) << line;
    }
}

// The DRAM controller may answer with an error code. It is no number of channels to ask memory for.
TEST(platform_configuration, does_without_channels_or_the_memory_for_them) {
    std::uint64_t requests_without = 0;

    for (const std::uint32_t count : {0u, 2u, 0xffffffedu}) {
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

TEST(module_list, logs_a_missing_reference_module_once) {
    const flat_tree tree = sim::chip_tree("zt420");
    flat_tree variations[] = {tree.without_node("/bw_modules/bw_sum"),
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
    r.run({{soc::source_kind::emi_port, 0, 0, {.read = 1000}}});
    r.loaded().write("bw_total", "1 0 16 0");

    EXPECT_NE(r.read("bw_total").find("  10       SUM         ALL        2000"), std::string::npos);
}

// What ip_config says of a module before its ports.
static std::string heading(int colour, const std::string &name, int id) {
    return "\033[4mModule : \033[" + std::to_string(colour) + ";30m  " + name +
           "  \033[0m\033[4m / ID: " + std::to_string(id) + "\033[0m\n";
}

// The slot of a group without ports or number is the next one's. One that is neither larb nor
// common is passed over, in a module of several parts with a message. Modules with larbs are
// listed by their positions, not their ids.
TEST(module_list, holds_modules_with_all_their_groups) {
    rig r(list_of(module_node(10, "BOTH", "TS",
                              "a { larb-id = <4>; port-list = <0 2>; }; n { };"
                              "b { common-id = <1>; port-list = <7>; };"
                              "x { status = \"disabled\"; larb-id = <5>; port-list = <1>; };"
                              "c { larb-id = <3>; port-list = <31>; };") +
                  module_node(11, "CPU", "CPU") + module_node(12, "GPU", "GFX") +
                  module_node(13, "MIX", "INPUT",
                              "mix-module; m { d { larb-id = <6>; port-list = <1>; }; };"
                              "n { e { }; f { common-id = <2>; port-list = <0 3>; }; };") +
                  module_node(14, "LARBS", "FRAME",
                              "g { larb-id = <4>; }; h { larb-id = <7>; port-list = <1 2>; };") +
                  module_node(15, "COMMONS", "PERI",
                              "i { common-id = <1>; }; j { common-id = <2>; port-list = <5>; };") +
                  module_node(16, "BYTES", "SYS",
                              "k { larb-id = [01]; port-list = <3>; };"
                              "l { larb-id = <7>; port-list = <1>; };")));

    EXPECT_EQ(load(r),
              (lines{"<3>[OVK_BW]Failed to fetch dramc info", "<6>chip dram clock:[3200]"} +
               added({"a", "b", "c", "d"}) + lines{"<3>[OVK_BW] error to parse larb/common id"} +
               added({"f", "g", "h", "i", "j", "k", "l"}) + lines{"<3>[OVK_BW] fifo_cnt: 0"}));
    EXPECT_EQ(r.read("ip_config"),
              heading(46, "BOTH", 10) +
                  "SMI_LARB_4 : PORT[ 0 2 ]\nSMI_LARB_3 : PORT[ 31 ]\nSMI_COMM_1 : PORT[ 7 ]\n\n" +
                  heading(47, "CPU", 11) + "EMI_PORT[ 0 1 ]\n\n" + heading(45, "GPU", 12) +
                  "EMI_PORT[ 7 ]\n\n" + heading(43, "MIX", 13) +
                  "SMI_LARB_6 : PORT[ 1 ]\nSMI_COMM_2 : PORT[ 0 3 ]\n\n" +
                  heading(42, "LARBS", 14) + "SMI_LARB_7 : PORT[ 1 2 ]\nSMI_LARB_0 : PORT[ ]\n\n" +
                  heading(47, "COMMONS", 15) + "SMI_COMM_2 : PORT[ 5 ]\nSMI_COMM_0 : PORT[ ]\n\n" +
                  heading(47, "BYTES", 16) + "SMI_LARB_7 : PORT[ 1 ]\nSMI_LARB_0 : PORT[ ]\n\n" +
                  heading(45, "GOP", 0) + "\n");
    EXPECT_EQ(r.read("larb_module_list"),
              "0 : BOTH         3 : MIX          4 : LARBS        \n6 : BYTES        \n");
}

// SUM and REF_EMI are the last two of three modules, whatever they call themselves: the first
// number that is no position, and one far beyond.
TEST(module_list, knows_references_by_their_position_when_their_id_is_none) {
    rig r(list_of(""));
    EXPECT_EQ(r.loaded().read("larb_module_list"), "\n");

    r.write("bw_larb", "2 16\n");
    EXPECT_EQ(r.log(), lines{"<6>[OVK_BW]Set Module ID = 2, Time= 16"});
    r.write("bw_larb", "3 16\n");
    EXPECT_EQ(r.log(), lines{"<3>[OVK_BW]Wrong Argument!!"});
}

}  // namespace tests
