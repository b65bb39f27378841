// SPDX-License-Identifier: GPL-2.0-only
// Writes plausible lines and noise to the attributes and reads them, while requests fail, monitors
// hang, the system sleeps and the module comes and goes.
#include <map>

#include "fuzz/rig.h"

namespace fuzz {

// What sets a short measuring time, from any two numbers and that time.
static const std::map<std::string, const char *> short_times = {{"bw_total", "%1$u %2$u %3$u %2$u"},
                                                                {"bw_larb", "%1$u %3$u"},
                                                                {"bw_scomm", "%3$u"},
                                                                {"bw_emi", "%3$u"}};

template <typename... numbers>
static std::string printed(const char *format, numbers... arguments) {
    char text[80];
    std::snprintf(text, sizeof text, format, arguments...);
    return text;
}

class session {
  public:
    session(const chip &chosen, choices &input)
        : input_(input),
          simulator_({devicetree::flat_tree::from_blob(chosen.tree.blob()), {}, {}}) {
        simulator_.chip().set_scenario(chosen.traffic);
        load();
    }

    // reg_op goes wherever it is sent, also where the chip has no register.
    void act() {
        const int action = input_.ConsumeIntegralInRange(0, 31);
        const host::attribute_info attribute = pick(input_, machine_.attributes());
        if (action >= 26) {
            disturb(action);
        } else if (action < 20 && (attribute.mode & 0222) != 0) {
            write_some(attribute.name, action < 8);
        } else {
            read(machine_, attribute);
        }
        for (const std::string &oops : machine_.take_oopses()) {
            expect(attribute.name == "reg_op" && oops.find("-bit ") != std::string::npos, oops);
        }
        expect_end(machine_);
    }

  private:
    // Requests that were to fail are no excuse for the load after that.
    void load() {
        if (machine_.load() != 0) {
            machine_.clear_faults();
            expect(machine_.load() == 0, "load without faults");
        }
    }

    unsigned register_address() {
        const devicetree::node &node = *pick(input_, machine_.tree().nodes());
        const std::uint64_t start = node.reg.empty() ? 0x1c000000 : node.reg[0].start;
        return static_cast<unsigned>(start) + 4 * input_.ConsumeIntegralInRange(0U, 1023U);
    }

    std::string line(const std::string &attribute) {
        static constexpr const char *formats[] = {" %u", " %u", " %u", " 0x%x", " 0x%x000"};
        std::string text = attribute == "reg_op" ? printed("0x%x", register_address()) : "";
        for (int left = input_.ConsumeIntegralInRange(0, 5); left > 0; left--) {
            text += printed(pick(input_, formats), pick_number(input_));
        }
        return text;
    }

    // A loop in software ends when somebody else says so, and here is nobody else. A report
    // measures as long as it was told to.
    void write_some(const std::string &attribute, bool noise) {
        const bool in_software = !machine_.tree().by_name("bw_bist")->has("hw-loop");
        for (unsigned id = 0; attribute == "fake_engine" && in_software && id < 4; id++) {
            write(machine_, "fake_eng_loop", printed("%u 0", id));
        }
        const std::size_t more = input_.ConsumeIntegral<std::uint8_t>() == 0 ? 4096 : 0;
        write(machine_, attribute,
              noise ? input_.ConsumeRandomLengthString(32).append(more, '7') : line(attribute));
        if (short_times.contains(attribute)) {
            write(machine_, attribute,
                  printed(short_times.at(attribute), pick_number(input_), pick_number(input_),
                          pick_number(input_) % 16));
        }
    }

    void disturb(int action) {
        const auto kind = static_cast<host::fault_kind>(input_.ConsumeIntegralInRange(0, 5));
        const std::string &name = pick(input_, machine_.tree().nodes())->name;
        if (action == 26) {
            machine_.fail_nth(kind, 1 + input_.ConsumeIntegral<std::uint8_t>());
        } else if (action == 27) {
            machine_.fail_named(kind, name);
        } else if (action == 28) {
            simulator_.chip().pin(register_address(), pick_number(input_));
        } else if (action == 29) {
            simulator_.chip().hang(name);
        } else if (action == 30) {
            simulator_.chip().unpin_all();
            machine_.clear_faults();
        } else if (input_.ConsumeBool()) {
            machine_.unload();
            load();
        } else if (machine_.suspend() == 0) {
            machine_.resume();
        }
    }

    choices &input_;
    sim::simulator simulator_;
    host::machine &machine_ = simulator_.machine();
};

}  // namespace fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size) {
    fuzz::choices input(bytes, size);
    fuzz::session session(fuzz::pick_chip(input), input);
    while (input.remaining_bytes() > 0) {
        session.act();
    }
    return 0;
}
