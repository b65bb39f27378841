// SPDX-License-Identifier: GPL-2.0-only
// What is listed or set, not measured.
#include "ovk/report/parse.h"
#include "ovk/report/parsing.h"

namespace ovk {

namespace {

struct fifo_state {
    fifo_report report;
    std::optional<columns> table = {};
    bool at_end = false;

    static constexpr bool sure_of_end = true;
    bool ended() const { return at_end; }
};

bool take_fifo_fixed(const report_line &line, fifo_state &state) {
    state.at_end = state.table && is_blank(line.plain);
    return is_blank(line.plain) || starts_report(line.plain);
}

bool take_fifo_titles(const report_line &line, fifo_state &state) {
    const auto found =
        columns::under(line.plain, {"ID", "MODULE", "IP_NAME", "TH_PULTRA", "PUL_MASK", "TH_ULTRA",
                                    "UL_MASK", "TH_URGENT", "URG_MASK", "NOT_DONE_CNT"});
    if (found) {
        state.table = found;
    }
    return found.has_value();
}

bool take_fifo(const report_line &line, fifo_state &state) {
    const auto cells = state.table ? state.table->split(line.plain) : std::nullopt;
    fifo_figures fifo;

    if (!cells || !take((*cells)[0], fifo.id) || !take((*cells)[1], fifo.module) ||
        !take((*cells)[2], fifo.name) || !take((*cells)[3], fifo.preultra_threshold) ||
        !take((*cells)[4], fifo.preultra_masked) || !take((*cells)[5], fifo.ultra_threshold) ||
        !take((*cells)[6], fifo.ultra_masked) || !take((*cells)[7], fifo.urgent_threshold) ||
        !take((*cells)[8], fifo.urgent_masked) || !take((*cells)[9], fifo.not_done_count)) {
        return false;
    }
    state.report.fifos.push_back(std::move(fifo));
    return true;
}

constexpr line_handler<fifo_state> fifo_handlers[] = {take_fifo_fixed, take_fifo_titles, take_fifo};

struct ports_state {
    ports_report report;
    bool at_gap = false;

    static constexpr bool sure_of_end = false;
    bool ended() const { return at_gap; }
};

bool take_gap(const report_line &line, ports_state &state) {
    state.at_gap = line.raw.empty();
    return state.at_gap;
}

label domain_of(char colour) {
    switch (colour) {
        case '2':
            return "FRAME";
        case '3':
            return "INPUT";
        case '5':
            return "GFX";
        case '6':
            return "TS";
        default:
            return std::nullopt;
    }
}

// Name and id are told apart at the last mark: a name may look like one.
bool take_module(const report_line &line, ports_state &state) {
    static constexpr std::string_view start = "\x1b[4mModule : \x1b[4";
    static constexpr std::string_view label_end = ";30m  ";
    static constexpr std::string_view mark = "  \x1b[0m\x1b[4m / ID: ";
    const std::size_t name = start.size() + 1 + label_end.size();
    const std::size_t end = line.raw.rfind(mark);
    module_ports module;

    if (!line.raw.starts_with(start) || end == std::string::npos || end < name ||
        line.raw.substr(start.size() + 1, label_end.size()) != label_end) {
        return false;
    }
    scanner rest(std::string_view(line.raw).substr(end + mark.size()));
    if (!rest.number(module.id) || !rest.skip("\x1b[0m") || !rest.at_end()) {
        return false;
    }
    module.name = line.raw.substr(name, end - name);
    module.domain = domain_of(line.raw[start.size()]);
    state.report.modules.push_back(std::move(module));
    return true;
}

// "PORT[ 0 2 ]"
bool take_ports(scanner &line, std::vector<std::uint64_t> &ports) {
    if (!line.skip("PORT[ ")) {
        return false;
    }
    while (!line.skip("]")) {
        figure port;
        if (!line.number(port) || !line.skip(" ")) {
            return false;
        }
        ports.push_back(*port);
    }
    return line.at_end();
}

bool take_emi_ports(const report_line &line, ports_state &state) {
    scanner text(line.raw);
    std::vector<std::uint64_t> ports;

    if (state.report.modules.empty() || !text.skip("EMI_") || !take_ports(text, ports)) {
        return false;
    }
    state.report.modules.back().emi_ports = std::move(ports);
    return true;
}

template <class group>
bool take_group(std::string_view line, std::string_view start, figure group::*number,
                std::vector<group> &into) {
    scanner text(line);
    group found;

    if (!text.skip(start) || !text.number(found.*number) || !text.skip(" : ") ||
        !take_ports(text, found.ports)) {
        return false;
    }
    into.push_back(std::move(found));
    return true;
}

bool take_groups(const report_line &line, ports_state &state) {
    if (state.report.modules.empty()) {
        return false;
    }
    module_ports &module = state.report.modules.back();
    return take_group(line.raw, "SMI_LARB_", &larb_group::larb, module.larbs) ||
           take_group(line.raw, "SMI_COMM_", &common_group::common, module.commons);
}

constexpr line_handler<ports_state> ports_handlers[] = {take_gap, take_module, take_emi_ports,
                                                        take_groups};

// Three modules to a line, "%-2d: %-13s" each.
constexpr std::size_t id_width = 2;
constexpr std::size_t name_width = 13;
constexpr std::size_t item_width = id_width + 2 + name_width;

bool take_larb_modules(std::string_view line, std::vector<larb_module> &into) {
    std::vector<larb_module> found;

    if (line.size() % item_width != 0) {
        return false;
    }
    for (; !line.empty(); line.remove_prefix(item_width)) {
        label id;
        larb_module module;
        scanner item(line.substr(0, item_width));
        if (!item.name(id, id_width, id_width, ": ") || !take(*id, module.id) ||
            !item.name(module.name, name_width, name_width, "")) {
            return false;
        }
        found.push_back(std::move(module));
    }
    into.insert(into.end(), found.begin(), found.end());
    return true;
}

// A line each, nothing before or behind.
template <class record>
void add_lines(const reading &from, report_head &head, std::vector<record> &to,
               bool (*take_line)(std::string_view, std::vector<record> &)) {
    const report_lines lines = split_lines(from.came.text);
    const std::size_t before = head.unparsed.size();

    head.end_ns = std::max(head.end_ns, from.came.end_ns);
    for (const report_line &line : lines.whole) {
        if (!take_line(line.raw, to)) {
            head.unparsed.push_back(line.raw);
        }
    }
    if (head.unparsed.size() > before) {
        head.incomplete("unparsed lines: " + std::to_string(head.unparsed.size() - before));
    }
    if (!lines.torn.empty()) {
        head.incomplete("ends early");
    }
}

bool take_cpu_range(std::string_view line, std::vector<cpu_range> &into) {
    scanner text(line);
    cpu_range range;

    if (!text.skip("scope:") || !text.number(range.scope) || !text.skip(" - start addr:0x") ||
        !text.number(range.start, 1, 16) || !text.skip(", end addr:0x") ||
        !text.number(range.end, 1, 16) || !text.at_end()) {
        return false;
    }
    into.push_back(range);
    return true;
}

}  // namespace

fifo_report parse_fifo(const reading &from) {
    return parse_with(fifo_handlers, from);
}

ports_report parse_ip_config(const reading &from) {
    return parse_with(ports_handlers, from);
}

void add_larb_modules(ports_report &to, const reading &from) {
    add_lines(from, to.head, to.larb_modules, take_larb_modules);
}

void add_cpu_ranges(limits_report &to, const reading &from) {
    add_lines(from, to.head, to.cpu_ranges, take_cpu_range);
}

std::optional<selected_limit> parse_larb_ostdl(const std::string &text) {
    scanner line(text);
    figure larb;
    figure port;
    figure limit;

    if (!line.skip("larb id: ") || !line.number(larb) || !line.skip(", port id: ") ||
        !line.number(port) || !line.skip(", ostdl: 0x") || !line.number(limit, 1, 16) ||
        !line.skip("\x1b[K\n") || !line.at_end()) {
        return std::nullopt;
    }
    return selected_limit{*larb, *port, *limit};
}

std::optional<selected_register> parse_reg_op(const std::string &text) {
    for (const report_line &line : split_lines(text).whole) {
        scanner shown(line.plain);
        figure address;
        figure value;
        if (shown.skip("0x") && shown.number(address, 1, 16) && shown.skip(" = 0x") &&
            shown.number(value, 1, 16) && shown.at_end()) {
            return selected_register{*address, *value};
        }
    }
    return std::nullopt;
}

}  // namespace ovk
