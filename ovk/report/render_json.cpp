// SPDX-License-Identifier: GPL-2.0-only
#include <nlohmann/json.hpp>

#include "ovk/report/members.h"
#include "ovk/report/render.h"

namespace ovk {

namespace {

// Optional values, lists and records can hold one another.
class json_maker {
  public:
    // Whether an empty list is to have an element, so that its members show.
    explicit json_maker(bool filled) : filled_(filled) {}

    json operator()(std::uint64_t number) const { return number; }
    json operator()(std::int64_t number) const { return number; }
    json operator()(bool bit) const { return bit; }
    json operator()(const std::string &bytes) const { return utf8_of(bytes); }

    template <class value>
    json operator()(const std::optional<value> &of) const {
        return of ? (*this)(*of) : json();
    }

    template <class value>
    json operator()(const std::vector<value> &of) const {
        json list = json::array();
        for (const value &each : of) {
            list.push_back((*this)(each));
        }
        if (filled_ && of.empty()) {
            list.push_back((*this)(value()));
        }
        return list;
    }

    template <class record>
    json operator()(const record &of) const {
        json object = json::object();
        visit(of, [&](const char *name, const auto &value) { object[name] = (*this)(value); });
        return object;
    }

  private:
    bool filled_;
};

std::string sentence_of(const std::vector<std::string> &reasons) {
    std::string text;
    for (const std::string &each : reasons) {
        text += (text.empty() ? "" : "; ") + each;
    }
    return text;
}

}  // namespace

std::string utf8_of(const std::string &bytes) {
    return json::parse(json(bytes).dump(-1, ' ', false, json::error_handler_t::replace));
}

static json make(const any_report &report, const json_maker &maker) {
    const report_head &head = head_of(report);
    json object = {{"report", name_of(report)},
                   {"complete", head.complete},
                   {"reason", head.complete ? json() : json(utf8_of(sentence_of(head.reasons)))},
                   {"start_ns", head.start_ns},
                   {"end_ns", head.end_ns},
                   {"log_seen", head.log_seen}};

    std::visit([&](const auto &each) { object.update(maker(each)); }, report);
    object["unparsed"] = maker(head.unparsed);
    return object;
}

json json_of(const any_report &report) {
    return make(report, json_maker(false));
}

std::string rendered(const any_report &report, const std::string &format) {
    return format == "csv"           ? csv_of(report)
           : format == "json"        ? json_of(report).dump(2) + "\n"
           : format == "openmetrics" ? openmetrics_of(report)
                                     : text_of(json_of(report));
}

json sample_of(const any_report &report) {
    return make(std::visit([](auto each) -> any_report { return decltype(each)(); }, report),
                json_maker(true));
}

}  // namespace ovk
