// SPDX-License-Identifier: GPL-2.0-only
#include "soc/blocks/efficiency_monitor.h"

#include <iterator>

namespace soc {

namespace {

constexpr std::uint32_t effi_control = 0x00;
constexpr std::uint32_t selection_value = 0x04;
constexpr std::uint32_t selection_mask = 0x08;
constexpr std::uint32_t configuration = 0x0c;
constexpr std::uint32_t configuration_words = 8;
constexpr std::uint32_t configuration_stride = 4;
constexpr std::uint32_t result = 0x2c;
constexpr std::uint32_t effi_status = 0x34;

constexpr std::uint32_t reset_bit = 1u << 0;
constexpr std::uint32_t arm_bit = 1u << 3;
constexpr std::uint32_t effi_run_bit = 1u << 4;
constexpr unsigned selector_shift = 6;
constexpr std::uint32_t selector_field = 0x3;
constexpr std::uint32_t effi_done_bit = 1u << 0;

constexpr std::uint32_t input_field = 0x700;
constexpr unsigned input_shift = 8;
constexpr std::uint32_t larb_port_field = 0x0ff;

constexpr nanoseconds span_of_1024_requests = 800'000;
constexpr std::uint32_t requests_per_span = 1024;
constexpr std::uint32_t percent = 100;
constexpr std::uint64_t millionths = 1'000'000;

// The SMI common output that each monitor watches, by monitor number, on a chip that has its
// monitors there: {common, path}.
constexpr block_port standard_wiring[] = {
    {0, 0}, {0, 1}, {1, 0}, {1, 1}, {2, 0}, {5, 0}, {3, 0},
    {4, 0}, {6, 0}, {6, 1}, {7, 0}, {7, 1}, {2, 1}, {5, 1},
};

std::vector<register_row> registers_of_a_monitor() {
    return {
        {effi_control, half_load | word | double_word, "control"},
        {selection_value, word, "selection_value"},
        {selection_mask, word, "selection_mask"},
        {configuration, word, "configuration", configuration_words},
        {result, word, "result"},
        {effi_status, word, "status"},
    };
}

std::uint32_t count_of_share(std::uint32_t share) {
    return (share * requests_per_span + percent - 1) / percent;
}

// 0 as soon as one of the streams has none: what it costs on the bus is beyond all measure.
std::uint32_t efficiency_of(const streams &passing) {
    std::uint64_t data = 0;
    std::uint64_t bus = 0;
    for (const stream *each : passing) {
        const std::uint64_t moved = rate(each->load, direction::both);
        if (each->load.efficiency == 0) {
            return 0;
        }
        data += moved;
        bus += moved * percent * millionths / each->load.efficiency;
    }
    return bus == 0 ? 0 : static_cast<std::uint32_t>(data * percent * millionths / bus);
}

template <typename number_of>
std::uint32_t mean(const streams &passing, number_of number) {
    return static_cast<std::uint32_t>(weighted_mean(passing, number));
}

}  // namespace

span_results measure(const streams &passing) {
    return {
        .burst = mean(passing, [](const flow &load) { return load.burst; }),
        .efficiency = efficiency_of(passing),
        .ultra = mean(passing, [](const flow &load) { return count_of_share(load.ultra); }),
        .preultra = mean(passing, [](const flow &load) { return count_of_share(load.preultra); }),
    };
}

efficiency_monitor::efficiency_monitor(const devicetree::node &node, register_file &registers,
                                       const traffic &passing, std::uint32_t number)
    : block(node, registers, registers_of_a_monitor()), passing_(passing), number_(number) {}

void efficiency_monitor::stored(std::uint32_t offset, unsigned width) {
    if (reaches(offset, width, effi_control)) {
        follow_control(read(effi_control));
    }
    publish();
}

void efficiency_monitor::follow_control(std::uint32_t wanted) {
    const std::uint32_t before = control_;
    control_ = wanted;
    if ((wanted & reset_bit) != 0) {
        forget();
        return;
    }
    if ((wanted & effi_run_bit) == 0) {
        ends_at_.reset();
        return;
    }
    if ((before & effi_run_bit) == 0 && (wanted & arm_bit) != 0) {
        start();
    }
}

void efficiency_monitor::start() {
    forget();
    selection_ = {read(selection_value), read(selection_mask)};
    if (!hung_) {
        ends_at_ = now() + span_of_1024_requests;
    }
}

void efficiency_monitor::forget() {
    ends_at_.reset();
    done_ = false;
    results_ = {};
}

void efficiency_monitor::elapse(nanoseconds, nanoseconds to) {
    if (ends_at_ && to >= *ends_at_) {
        finish();
        publish();
    }
}

void efficiency_monitor::finish() {
    ends_at_.reset();
    done_ = true;
    results_ = configured() ? measure(selected()) : span_results{};
}

bool efficiency_monitor::configured() const {
    std::uint32_t any = 0;
    for (std::uint32_t word = 0; word < configuration_words; ++word) {
        any |= read(configuration + configuration_stride * word);
    }
    return any != 0;
}

streams efficiency_monitor::on_path() const {
    if (passing_.chip().monitors_at_emi) {
        return passing_.at_emi_port(number_);
    }
    if (number_ >= std::size(standard_wiring)) {
        return {};
    }
    return passing_.at_common_output(standard_wiring[number_]);
}

streams efficiency_monitor::selected() const {
    streams result;
    for (const stream *each : on_path()) {
        if (selection_.lets_through(*each)) {
            result.push_back(each);
        }
    }
    return result;
}

// A request that has not passed the block that a masked field names has nothing to compare.
bool efficiency_monitor::selection::lets_through(const stream &passing) const {
    const bool input_counts = (mask & input_field) != 0;
    const bool larb_port_counts = (mask & larb_port_field) != 0;
    if ((input_counts && !passing.common_input) || (larb_port_counts && !passing.larb)) {
        return false;
    }
    const std::uint32_t input = passing.common_input ? passing.common_input->port : 0;
    const std::uint32_t larb_port = passing.larb ? passing.larb->port : 0;
    const std::uint32_t origin = (input << input_shift & input_field) | larb_port;
    return ((origin ^ value) & mask & (input_field | larb_port_field)) == 0;
}

bool efficiency_monitor::hang() {
    hung_ = true;
    forget();
    publish();
    return true;
}

void efficiency_monitor::power_lost() {
    clear_registers();
    control_ = 0;
    selection_ = {};
    forget();
}

void efficiency_monitor::publish() {
    // In the order of the selector's values.
    const std::uint32_t shown[] = {results_.burst, results_.efficiency, results_.ultra,
                                   results_.preultra};
    write(result, shown[control_ >> selector_shift & selector_field]);
    write(effi_status, done_ ? effi_done_bit : 0);
}

}  // namespace soc
