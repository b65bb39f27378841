// SPDX-License-Identifier: GPL-2.0-only
#include "bench/scaled_chip.h"

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace bench {

namespace {

constexpr unsigned ports_per_larb = 32;
constexpr unsigned larbs_per_common = 8;
constexpr unsigned commons = 4;
constexpr unsigned larbs = commons * larbs_per_common;
constexpr unsigned window = 0x1000;
constexpr unsigned first_address = 0x1c010000;

constexpr unsigned emi_control_offset = 0x400;
constexpr unsigned emi_done_bit = 0x4;
constexpr unsigned larb_counter_offset = 0x410;
constexpr unsigned monitor_result_offset = 0x2c;
constexpr unsigned monitor_status_offset = 0x34;
constexpr unsigned bytes_in_a_run = 160'000;

std::string cells(unsigned number) {
    return "<" + std::to_string(number) + ">";
}

class tree_text {
  public:
    explicit tree_text(unsigned modules) {
        text_ << "/dts-v1/;\n/ { #address-cells = <1>; #size-cells = <1>;\n"
                 "dram_config { bus_width = <32>; dram_clock = <3200>; dram_penalty = <85>;"
                 " emi_clock = <800>; smi_clock = <624>; };\n"
                 "emi_arch { emi_cnt = <1>; emi_port_cnt = <8>; smi_common_cnt = <4>; };\n"
                 "soc { compatible = \"simple-bus\"; #address-cells = <1>; #size-cells = <1>; "
                 "ranges;\n";
        block("emi_cen0", "");
        block("emi_dispatch0", "");
        for (unsigned i = 0; i < 2 * commons; i++) {
            block("effi_monitor" + std::to_string(i), "compatible = \"quorix,zt430-effi-mon\";");
        }
        for (unsigned i = 0; i < commons; i++) {
            block("smi_common" + std::to_string(i),
                  "phandle = " + cells(i + 1) + "; quorix,common-id = " + cells(i) +
                      "; input-port-nr = <8>; output-port-nr = <1>;");
        }
        for (unsigned i = 0; i < larbs; i++) {
            block("larb" + std::to_string(i),
                  "quorix,smi = " + cells(i / larbs_per_common + 1) +
                      "; quorix,smi-port-id = " + cells(i % larbs_per_common) + ";");
        }
        text_ << "};\n";
        for (unsigned i = 0; i + 3 < modules; i++) {
            module(i, "M" + std::to_string(i), group(i));
        }
        module(modules - 3, "GOP", "");
        module(modules - 2, "REF_EMI", "");
        module(modules - 1, "SUM", "");
        text_ << "};\n";
    }

    std::string str() const { return text_.str(); }

  private:
    void block(const std::string &name, const std::string &properties) {
        std::ostringstream address;
        address << std::hex << address_;
        text_ << name << "@" << address.str() << " { reg = <0x" << address.str() << " 0x1000>; "
              << properties << " };\n";
        address_ += window;
    }

    static std::string group(unsigned port) {
        return "g" + std::to_string(port) + " { larb-id = " + cells(port / ports_per_larb) +
               "; port-list = " + cells(port % ports_per_larb) + "; };";
    }

    void module(unsigned id, const std::string &name, const std::string &groups) {
        text_ << "bw_m" << id << " { device_type = \"bw\"; module-name = \"" << name
              << "\"; domain = \"TS\"; module-id = " << cells(id) << "; init-on; " << groups
              << " };\n";
    }

    std::ostringstream text_;
    unsigned address_ = first_address;
};

}  // namespace

devicetree::flat_tree scaled_chip(unsigned modules) {
    const std::filesystem::path file =
        std::filesystem::temp_directory_path() / ("ovk-bench-" + std::to_string(getpid()) + ".dts");
    std::ofstream(file) << tree_text(modules).str();
    devicetree::flat_tree tree = devicetree::flat_tree::from_file(file);
    std::filesystem::remove(file);
    return tree;
}

still_bus::still_bus(const devicetree::flat_tree &tree)
    : emi_control_(tree.by_name("emi_cen0")->reg.front().start + emi_control_offset) {
    for (const auto &node : tree.nodes()) {
        if (node->name.starts_with("larb")) {
            for (unsigned counter = 0; counter < 4; counter++) {
                registers_.set32(node->reg.front().start + larb_counter_offset + 4 * counter,
                                 bytes_in_a_run);
            }
        } else if (node->name.starts_with("effi_monitor")) {
            registers_.set32(node->reg.front().start + monitor_status_offset, 1);
            registers_.set32(node->reg.front().start + monitor_result_offset, 80);
        }
    }
}

std::uint64_t still_bus::load(std::uint64_t address, unsigned width) {
    return registers_.get(address, width) | (address == emi_control_ ? emi_done_bit : 0);
}

void still_bus::store(std::uint64_t address, unsigned width, std::uint64_t value) {
    registers_.set(address, width, value);
}

}  // namespace bench
