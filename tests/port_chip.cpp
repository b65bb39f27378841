// SPDX-License-Identifier: GPL-2.0-only
#include "tests/port_chip.h"

#include <cstdio>

#include "tests/compiled.h"
#include "tests/pattern.h"

namespace tests {

static const char *const blocks = R"(/dts-v1/;
/ { #address-cells = <1>; #size-cells = <1>;
    dram_config { bus_width = <32>; dram_clock = <3200>; dram_penalty = <85>;
                  emi_clock = <800>; smi_clock = <500>; };
    emi_arch { emi_cnt = <2>; emi_port_cnt = <8>; smi_common_cnt = <2>; };
    emi_cen0@1c010000 { reg = <0x1c010000 0x1000>; };
    emi_cen1@1c011000 { reg = <0x1c011000 0x1000>; };
    emi_dispatch0@1c012000 { reg = <0x1c012000 0x1000>; };
    common0: smi_common0@1c013000 { reg = <0x1c013000 0x1000>; quorix,common-id = <0>;
                                    input-port-nr = <4>; output-port-nr = <2>;
                                    quorix,emi-port = <2 3>; };
    smi_commonSECOND@1c014000 { reg = <0x1c014000 0x1000>; quorix,common-id = <SECOND>;
                           input-port-nr = <2>; output-port-nr = <1>;
                           quorix,emi-port = <4>; };
    larb0@1c015000 { reg = <0x1c015000 0x1000>; quorix,smi = <&common0>; quorix,smi-port-id = <0>; };
    larb1@1c016000 { reg = <0x1c016000 0x1000>; quorix,smi = <&common0>; quorix,smi-port-id = <1>; };
    larb2@1c017000 { reg = <0x1c017000 0x1000>; quorix,smi = <&common0>; quorix,smi-port-id = <2>; };
    effi_monitor0@1c018000 { compatible = "quorix,zt430-effi-mon"; reg = <0x1c018000 0x1000>; };
    effi_monitor1@1c019000 { compatible = "quorix,zt430-effi-mon"; reg = <0x1c019000 0x1000>; };
    effi_monitor2@1c01a000 { compatible = "quorix,zt430-effi-mon"; reg = <0x1c01a000 0x1000>; };
    cpu_pri@1c01b000 { compatible = "quorix,cpu-pri"; reg = <0x1c01b000 0x1000>; };
    gop { device_type = "bw"; module-name = "GOP"; domain = "GFX"; module-id = <0>; init-on;
          GROUPS };
    tsp { device_type = "bw"; module-name = "TSP"; domain = "TS"; module-id = <1>; init-on;
          tsp_comm0 { common-id = <0>; port-list = <3>; };
          tsp_comm1 { common-id = <SECOND>; port-list = <1>; }; };
    ref { device_type = "bw"; module-name = "REF_EMI"; domain = "EMI"; module-id = <2>; init-on; };
    sum { device_type = "bw"; module-name = "SUM"; domain = "ALL"; module-id = <3>; init-on; };
};
)";

devicetree::flat_tree port_chip(const std::vector<std::string> &port_lists,
                                const std::string &second_common) {
    std::string groups;

    for (std::size_t larb = 0; larb < port_lists.size(); larb++) {
        const std::string number = std::to_string(larb);
        groups += "gop_larb" + number + " { larb-id = <" + number + ">; port-list = <" +
                  port_lists[larb] + ">; }; ";
    }
    return compiled(replaced(replaced(blocks, "SECOND", second_common), "GROUPS", groups));
}

soc::source at_larb(std::uint32_t larb, std::uint32_t port, soc::flow traffic) {
    return {soc::source_kind::larb_port, larb, port, traffic};
}

soc::source at_common(std::uint32_t common, std::uint32_t input, soc::flow traffic) {
    return {soc::source_kind::common_input, common, input, traffic};
}

soc::source at_emi(std::uint32_t port, soc::flow traffic) {
    return {soc::source_kind::emi_port, 0, port, traffic};
}

namespace {

struct running_register {
    const char *prefix;
    std::uint32_t offset;
    std::uint32_t mask;
};

// Of an EMI channel, the control and set-up of the monitor and its slots.
constexpr running_register running_registers[] = {
    {"larb", 0x400, ~0u},           {"smi_common", 0x1a0, ~0u},   {"effi_monitor", 0x000, 0x11},
    {"emi_cen", 0x060, 0xffff0000}, {"emi_cen", 0x400, ~0u},      {"emi_cen", 0x440, ~0u},
    {"emi_cen", 0x468, ~0u},        {"emi_cen", 0x4b0, ~0u},      {"emi_cen", 0x4e8, 0xffff0000},
    {"emi_cen", 0x4f8, ~0u},        {"emi_cen", 0xf00, ~0u},      {"emi_cen", 0xf04, ~0u},
    {"emi_cen", 0xf08, ~0u},        {"emi_cen", 0xf0c, ~0u},      {"emi_cen", 0xf10, ~0u},
    {"emi_cen", 0xf14, ~0u},        {"emi_dispatch", 0x100, ~0u}, {"emi_dispatch", 0x104, ~0u}};

}  // namespace

lines left_on(rig &r) {
    lines places;

    for (const auto &node : r.machine().tree().nodes()) {
        for (const running_register &each : running_registers) {
            if (node->reg.empty() || !node->name.starts_with(each.prefix)) {
                continue;
            }
            const std::uint64_t value = r.chip().peek(node->reg[0].start + each.offset, 32);
            if ((value & each.mask) != 0) {
                char place[32];
                std::snprintf(place, sizeof(place), "+0x%03x 0x%08x", each.offset,
                              static_cast<unsigned>(value));
                places.push_back(node->name + place);
            }
        }
    }
    return places;
}

std::string clean_read(rig &r, const std::string &attribute, long code) {
    const lines held = r.machine().holdings();
    const auto result = r.machine().read(attribute);

    EXPECT_EQ(code >= 0 ? static_cast<long>(result.text.size()) : code, result.code) << attribute;
    EXPECT_EQ(r.machine().holdings(), held) << attribute;
    EXPECT_EQ(left_on(r), lines{}) << attribute;
    return result.text;
}

std::uint64_t wait_of(rig &r, const std::string &attribute) {
    const std::uint64_t before = r.machine().waited_us();

    r.read(attribute);
    return r.machine().waited_us() - before;
}

}  // namespace tests
