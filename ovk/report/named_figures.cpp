// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/report/named_figures.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <set>

namespace ovk {

namespace {

// Members that tell an element of a list from the others, the first that is known.
constexpr const char *keys[] = {"name",    "id",     "port",      "larb",  "common", "fifo",
                                "channel", "module", "direction", "scope", "domain", "status"};

// Members of a port that is not in its block's own list.
constexpr const char *blocks[] = {"channel", "larb"};

// Members of whole reports that are no measurement.
constexpr const char *heads[] = {"report", "complete", "reason",    "start_ns",
                                 "end_ns", "log_seen", "view",      "simple_view",
                                 "bars",   "unparsed", "supported", "larb_modules"};

template <std::size_t n>
bool is_one_of(const char *const (&names)[n], const std::string &name) {
    return std::find(names, names + n, name) != names + n;
}

std::string text_of_key(const json &value) {
    return value.is_string() ? value.get<std::string>() : value.dump();
}

// Ports of commons have a direction, too.
std::string name_of_element(const json &element) {
    for (const char *key : keys) {
        if (element.contains(key) && !element[key].is_null()) {
            const std::string own = text_of_key(element[key]);
            return element.contains("direction") && !element["direction"].is_null()
                       ? text_of_key(element["direction"]) + own
                       : own;
        }
    }
    return "all";
}

std::string singular(const std::string &list) {
    return list.substr(0, list.size() - 1);
}

const char *block_of(const json &element) {
    const auto *found = std::find_if(std::begin(blocks), std::end(blocks), [&](const char *each) {
        return element.contains("port") && element.contains(each);
    });
    return found == std::end(blocks) ? nullptr : *found;
}

class collector {
  public:
    std::vector<named_figure> found;

    void add_object(const json &object, const named_figure &place) {
        for (const auto &[name, value] : object.items()) {
            if (value.is_object()) {
                add_object(value, inside(place, name));
            } else if (value.is_array()) {
                add_list(name, value, place);
            } else if (!value.is_string() && !is_one_of(keys, name)) {
                add_figure(value, inside(place, name));
            }
        }
    }

  private:
    static named_figure inside(const named_figure &place, const std::string &name) {
        const std::string dot = place.name.empty() ? "" : ".";
        return {place.name + dot + name, place.family + dot + name, place.labels};
    }

    static void go_into(named_figure &place, const std::string &what, const std::string &which) {
        place.name += "." + which;
        place.labels.emplace_back(what, which);
    }

    // Two of one name are told apart by their numbers in the list.
    void add_list(const std::string &name, const json &list, const named_figure &place) {
        std::set<std::string> known;
        for (const json &element : list) {
            if (!element.is_object()) {
                return;
            }
            const char *const block = block_of(element);
            named_figure there = inside(place, name);
            std::string own = name_of_element(element);
            if (block != nullptr) {
                go_into(there, block, text_of_key(element[block]));
            }
            if (!known.insert(there.name + "." + own).second) {
                own += "#" + std::to_string(known.size());
                known.insert(there.name + "." + own);
            }
            go_into(there, block != nullptr ? "port" : singular(name), own);
            add_object(element, there);
        }
    }

    void add_figure(const json &value, named_figure place) {
        if (value.is_boolean()) {
            place.value = value.get<bool>() ? 1 : 0;
        } else if (value.is_number()) {
            place.value = value.get<double>();
        }
        found.push_back(std::move(place));
    }
};

}  // namespace

std::vector<named_figure> figures_of(const json &report) {
    json measured = json::object();
    collector all;

    for (const auto &[name, value] : report.items()) {
        if (!is_one_of(heads, name)) {
            measured[name] = value;
        }
    }
    all.add_object(measured, {});
    return std::move(all.found);
}

std::vector<named_figure> figures_of(const any_report &report) {
    return figures_of(json_of(report));
}

std::vector<named_figure> possible_figures_of(const any_report &kind) {
    return figures_of(sample_of(kind));
}

json number_of(double value) {
    const auto whole = static_cast<std::int64_t>(value);
    return static_cast<double>(whole) == value ? json(whole) : json(value);
}

}  // namespace ovk
