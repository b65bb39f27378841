// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/qos/restore.h"

#include <algorithm>

#include "ovk/base/failure.h"
#include "ovk/base/interrupt.h"
#include "ovk/report/take.h"

namespace ovk {

namespace {

constexpr const char *chip = "chip_compatible";
constexpr std::size_t most_examples = 5;

std::string joined(const std::vector<std::string> &items) {
    std::string text;

    for (std::size_t i = 0; i < items.size() && i < most_examples; ++i) {
        text += (i == 0 ? "" : "; ") + items[i];
    }
    return items.size() <= most_examples
               ? text
               : text + "; and " + std::to_string(items.size() - most_examples) + " more";
}

failure refusal(const std::string &text) {
    return {exit_status::refused, text};
}

std::vector<std::string> missing_settings(const qos_settings &now, const qos_settings &wanted) {
    std::vector<std::string> missing;

    for (const auto &[key, value] : wanted.ports) {
        if (now.ports.count(key) == 0) {
            missing.push_back(words_for(key));
        }
    }
    return missing;
}

// A chip of another name will do when it has the same ports.
void check_chip(source &where, const qos_settings &now, const qos_file &file) {
    const std::string here = where.fact(chip);
    const std::string there = file.facts.at(chip);
    const auto missing = missing_settings(now, file.settings);
    const auto added = missing_settings(file.settings, now);
    const bool other = !here.empty() && !there.empty() && here != there;
    const std::string next = "; save this device's own settings with ovk qos save";

    if (!missing.empty()) {
        throw refusal(where.name() + ": the file, of " + (there.empty() ? "a chip" : there) +
                      ", has what this device has not: " + joined(missing) + next);
    }
    if (other && !added.empty()) {
        throw refusal(where.name() + ": the file is of " + there + ", and this is " + here +
                      ", which has more: " + joined(added) + next);
    }
}

std::vector<std::string> in_words(const difference &found) {
    std::vector<std::string> all = found.unknown;

    for (const change &each : found.changes) {
        all.push_back(words_for(each));
    }
    return all;
}

bool is_of_cpu(const change *each) {
    return each->writes.front().attribute == "cpupri";
}

class application {
  public:
    application(source &where, const restore_plan &plan) : where_(where), plan_(plan) {}

    void write_all() {
        for (const change &each : plan_.found.changes) {
            throw_if_interrupted();
            begun_.push_back(&each);
            for (const attribute_write &write : each.writes) {
                set_or_throw(where_, write.attribute, write.text);
            }
        }
        throw_if_interrupted();
    }

    void read_back() {
        const auto wrong = differing_from(plan_.wanted);
        if (!wrong.empty()) {
            throw refusal(where_.name() +
                          ": written, but something else is read back: " + joined(wrong));
        }
    }

    // What is to be thrown after it.
    failure undo(const failure &cause) {
        const held_interrupts hold;
        for (auto each = begun_.rbegin(); each != begun_.rend(); ++each) {
            std::for_each((*each)->back.begin(), (*each)->back.end(),
                          [this](const attribute_write &write) { put_back(write); });
        }
        std::string result;
        const bool reached = begun_.empty() || see_what_is_left(result);
        const bool kept = cause.status() == exit_status::interrupted || !reached;
        return {kept ? cause.status() : exit_status::refused,
                std::string(cause.what()) +
                    (begun_.empty() ? "; nothing was changed" : result + note_on_mode())};
    }

  private:
    std::vector<std::string> differing_from(const qos_settings &settings) {
        return in_words(difference_of(read_settings(where_), settings, plan_.cpu_mode));
    }

    // Tried twice. Whether it helped is seen afterwards.
    void put_back(const attribute_write &write) {
        for (int attempt = 0; attempt < 2; ++attempt) {
            try {
                if (where_.write(write.attribute, write.text).error == 0) {
                    return;
                }
            } catch (const failure &) {
                continue;
            }
        }
    }

    // False: the source can't be reached any more.
    bool see_what_is_left(std::string &result) {
        try {
            const auto wrong = differing_from(plan_.before);
            result = wrong.empty() ? "; everything is as it was"
                                   : "; put back, except for: " + joined(wrong) +
                                         "; ovk qos diff shows it, ovk write sets it";
            return true;
        } catch (const failure &error) {
            result =
                std::string("; whether everything is as it was can't be read: ") + error.what();
            return false;
        }
    }

    std::string note_on_mode() const {
        return std::any_of(begun_.begin(), begun_.end(), is_of_cpu)
                   ? "; the mode of the CPU ranges, which nothing shows, may be " +
                         std::to_string(plan_.cpu_mode) + " now"
                   : "";
    }

    source &where_;
    const restore_plan &plan_;
    std::vector<const change *> begun_;
};

}  // namespace

restore_plan plan_restore(source &where, const qos_file &file, unsigned cpu_mode) {
    restore_plan plan{read_settings(where), file.settings, cpu_mode, {}};

    check_chip(where, plan.before, file);
    plan.found = difference_of(plan.before, plan.wanted, cpu_mode);
    return plan;
}

void check_plan(const restore_plan &plan) {
    std::vector<std::string> never;

    for (const change &each : plan.found.changes) {
        if (each.writes.empty()) {
            never.push_back(words_for(each));
        }
    }
    if (!never.empty()) {
        throw refusal("no attribute takes this: " + joined(never) +
                      "; nothing was changed; take it out of the file, or restore it otherwise");
    }
    if (!plan.found.unknown.empty()) {
        throw refusal("what the file has can't be read now: " + joined(plan.found.unknown) +
                      "; nothing was changed; ovk doctor tells what is wrong");
    }
}

void carry_out(source &where, const restore_plan &plan) {
    application present(where, plan);

    try {
        present.write_all();
        present.read_back();
    } catch (const failure &cause) {
        throw present.undo(cause);
    }
}

}  // namespace ovk
