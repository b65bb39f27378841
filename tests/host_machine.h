// SPDX-License-Identifier: GPL-2.0-only
// A host kernel on hardware that merely remembers, for tests of the host kernel itself. The tests
// call the services as a module would.
#pragma once

#include <array>
#include <map>
#include <memory>
#include <utility>

#include "platform/host/machine.h"
#include "platform/host/services.h"
#include "tests/compiled.h"

namespace tests {

using lines = std::vector<std::string>;

inline const char *const source = R"(/dts-v1/;
/ {
    #address-cells = <1>; #size-cells = <1>; compatible = "test,board";
    session { load-code = <0>; };
    soc {
        compatible = "simple-bus";
        #address-cells = <1>; #size-cells = <1>; ranges;
        common: unit@1000 { reg = <0x1000 0x100>; compatible = "test,b", "test,a"; };
        unit@2000 { reg = <0x2000 0x40>; compatible = "test,b"; device_type = "kind";
                    text = "word"; cells = <1 2 3>; empty; odd = [01 02 03]; link = <0 &common>;
                    below { compatible = "test,b"; }; };
        unit@3000 { reg = <0x3000 0x40>; compatible = "test,b"; status = "disabled"; };
        unit@4000 { reg = <0x4000 0x40>; device_type = "kind"; below { compatible = "test,b"; }; };
        parts { compatible = "test,parts", "simple-mfd"; ranges;
                part@5000 { reg = <0x5000 0x40>; compatible = "test,b"; }; };
    };
};
)";

// Registers that keep what is stored, in a memory without end.
class memory_bus : public host::bus {
  public:
    std::uint64_t load(std::uint64_t address, unsigned) override { return words[address]; }
    void store(std::uint64_t address, unsigned, std::uint64_t value) override {
        words[address] = value;
        if (address == 0x10fc) {
            complaints.push_back("unknown register");
        }
    }
    void advance(std::uint64_t now_us) override { now = now_us; }
    std::optional<std::uint64_t> next_event() const override { return event; }
    void power_lost() override { words.clear(); }
    lines take_complaints() override { return std::exchange(complaints, {}); }

    std::map<std::uint64_t, std::uint64_t> words;
    std::optional<std::uint64_t> event;
    std::uint64_t now = 0;
    lines complaints;
};

class HostKernel : public testing::Test {
  protected:
    // A fresh machine on a tree with this load-code in it.
    void power_on(std::uint32_t load_code = 0) {
        machine.reset();
        tree = compiled(source).with_u32("/session", "load-code", load_code);
        host::options options;
        options.module_image = HOST_SESSION_MODULE;
        machine = std::make_unique<host::machine>(tree, bus, options);
    }
    void SetUp() override { power_on(); }

    static device_node *unit(int number) {
        device_node *node = nullptr;
        for (int i = 0; i < number; ++i) {
            node = ovk_kernel_of_find_node_by_name(node, "unit");
        }
        return node;
    }

    template <typename... values>
    static std::string text(const char *format, values... arguments) {
        std::array<char, 256> buffer;
        ovk_kernel_snprintf(buffer.data(), buffer.size(), format, arguments...);
        return buffer.data();
    }

    lines oopses() { return machine->take_oopses(); }

    memory_bus bus;
    devicetree::flat_tree tree = compiled(source);
    std::unique_ptr<host::machine> machine;
};

}  // namespace tests
