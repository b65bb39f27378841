// SPDX-License-Identifier: GPL-2.0-only
#include <nlohmann/json.hpp>

#include "ovk/tests/hand_made.h"
#include "ovk/tests/program.h"

namespace ovk::tests {

namespace {

lines lines_of(const std::string &text) {
    std::istringstream stream(text);
    lines found;
    for (std::string line; std::getline(stream, line);) {
        found.push_back(line);
    }
    return found;
}

// Every byte, also where it makes no UTF-8.
std::string all_bytes() {
    std::string bytes(256, '\0');
    std::generate(bytes.begin(), bytes.end(), [next = 0]() mutable { return char(next++); });
    return bytes;
}

// Operations with these texts, read and written, without a log, with an empty one and with a full.
std::vector<operation> operations_with_texts() {
    std::vector<operation> all;
    std::int64_t time = 0;
    for (const std::string &text : {std::string(), all_bytes(), std::string("cut \xe2\x82"),
                                    all_bytes().substr(0, 0x80) + "\xc3\xbc"}) {
        all.push_back({.attribute = "a", .came = {text, 0, time, time + 5}, .log = lines{text}});
        all.push_back({.is_write = true,
                       .attribute = "a",
                       .written = text,
                       .came = {"", 1, time + 6, INT64_MAX}});
        all.push_back({.attribute = "b", .came = {"", 110, time, time}, .log = lines{}});
        time += 7;
    }
    return all;
}

class recording : public testing::Test {
  protected:
    outcome record(const std::string &from, const std::string &options) {
        return ovk_with("-s " + from + " record -o " + file + " " + options);
    }

    const scratch files;
    const std::string file = files.path("r");
};

}  // namespace

TEST_F(recording, keeps_every_byte_time_error_and_message) {
    const recording_header header = {.version = "7",
                                     .source = "exec:\xff",
                                     .facts = {{"kernel_release", "6.1"}},
                                     .boot_ns = 42,
                                     .utc = "2026-01-02T03:04:05Z",
                                     .attributes = {"a", "b"},
                                     .ip_config = {"\xfe", 0, 1, 2},
                                     .settings = {{"cpupri", {"", 13, 3, 4}}},
                                     .unreadable = {"mask"}};
    const std::vector<operation> all = operations_with_texts();
    recording_of(files, "r", all, header);

    EXPECT_EQ(operations_of(file), all);
    EXPECT_EQ(nlohmann::json::parse(lines_of(files.content("r")).at(0)), nlohmann::json::parse(R"(
        {"ovk_recording": 1, "version": "7", "source": {"hex": "657865633aff"},
         "kernel_release": "6.1", "module_version": null, "chip_compatible": null,
         "clock": {"boot_ns": 42, "utc": "2026-01-02T03:04:05Z"}, "attributes": ["a", "b"],
         "ip_config": {"start_ns": 1, "end_ns": 2, "error": 0, "text": {"hex": "fe"}},
         "settings": {"cpupri": {"start_ns": 3, "end_ns": 4, "error": 13, "text": ""}},
         "unreadable": ["mask"]})"));
    const std::string again = recording_of(files, "again", all, recording_reader(file).header());
    EXPECT_EQ(files.content("again"), files.content("r"));
    const recording_writer writer(again, header);
    EXPECT_EQ(writer.bytes(), files.content("again").size());
}

TEST_F(recording, cut_at_any_byte_has_the_operations_whose_lines_are_whole) {
    ASSERT_EQ(record("sim:zt410", "--count 2 --reports bus,fifo").status, 0);
    const std::string whole = files.content("r");
    const auto all = operations_of(file);
    ASSERT_EQ(all.size(), 4u);

    // The header is long, and any place in it is like another.
    const std::size_t head = whole.find('\n');
    for (std::size_t length = 0; length < whole.size(); length += length + 100 < head ? 97 : 1) {
        const std::string cut = files.put("cut", whole.substr(0, length));
        const auto whole_lines = std::count(whole.begin(), whole.begin() + long(length), '\n');
        if (whole_lines == 0) {
            EXPECT_TRUE(ends(outcome_of([&] { operations_of(cut); }), 3, cut)) << length;
        } else {
            ASSERT_EQ(operations_of(cut), std::vector(all.begin(), all.begin() + (whole_lines - 1)))
                << length;
        }
    }
}

TEST_F(recording, that_is_damaged_or_of_another_format_is_refused_with_its_line) {
    record("sim:zt410", "--count 2 --reports bus");
    const lines whole = lines_of(files.content("r"));
    const std::string head = whole.at(0) + "\n";
    auto other_format = nlohmann::json::parse(whole.at(0));
    other_format["ovk_recording"] = 2;
    const auto with = [&](const std::string &members) {
        return head + R"({"op":"read","attribute":"a","start_ns":0,"log":[],)" + members + "}\n";
    };

    record("file:" + file, "--count 1");
    EXPECT_EQ(lines_of(files.content("r")), whole) << "its own source";
    const std::pair<std::string, const char *> damages[] = {
        {"\n", "line 1"},
        {"no json\n", "line 1"},
        {"{}\n", "line 1"},
        {other_format.dump() + "\n", "line 1: its format"},
        {head + whole.at(1).substr(9) + "\n" + whole.at(2) + "\n", "line 2"},
        {head + whole.at(1) + "\n{\"op\":\"erase\",\"attribute\":\"a\"}\n", "line 3"},
        {head + whole.at(1) + "\n{\"op\":\"read\",\"attribute\":\"a\"}\n", "line 3"},
        {with(R"("end_ns":1e300,"error":0,"text":"")"), "line 2: 1e+300 is"},
        {with(R"("end_ns":0,"error":4294967296,"text":"")"), "line 2: 4294967296 is"},
        {with(R"("end_ns":0,"error":0,"text":{"hex":"4g"})"), "line 2"},
        {with(R"("end_ns":0,"error":0,"text":{"hex":"414"})"), "line 2"},
    };
    for (const auto &[content, says] : damages) {
        files.put("r", content);
        EXPECT_TRUE(ends(ovk_with("-s file:" + file + " read none"), 3, says)) << content;
    }
    for (const std::string none : {"", "none"}) {
        EXPECT_TRUE(
            ends(outcome_of([&] { operations_of(files.path(none)); }), 3, files.path(none)));
    }
}

TEST_F(recording, of_a_recording_gives_it_again) {
    ASSERT_EQ(record("sim:zt420", "--count 3 --reports total,bus").status, 0);
    lines first = lines_of(files.content("r"));
    const std::string source = "file:" + files.put("first", files.content("r"));
    ASSERT_EQ(record(source, "--count 3 --reports total,bus").status, 0);
    lines second = lines_of(files.content("r"));
    auto head = nlohmann::json::parse(first.at(0));
    const auto again = nlohmann::json::parse(second.at(0));

    head["source"] = source;
    head["clock"] = again["clock"];
    EXPECT_EQ(again, head);
    EXPECT_EQ(again["chip_compatible"], "quorix,zt420");
    first[0] = second[0];
    EXPECT_EQ(second, first);
    EXPECT_EQ(second.size(), 7u);
}

TEST_F(recording, keeps_its_rounds_apart_and_ends_after_the_time_or_the_count) {
    using times = std::vector<std::int64_t>;
    const auto starts = [&](const std::string &options) {
        EXPECT_EQ(record("sim:zt430,idle", "--reports bus " + options).status, 0);
        times found;
        for (const operation &each : operations_of(file)) {
            found.push_back(each.came.start_ns / 1'000'000);
        }
        return found;
    };
    EXPECT_EQ(starts("--every 2s --count 3"), (times{0, 2000, 4000}));
    EXPECT_EQ(starts("--every 500ms --for 2s"), (times{0, 500, 1000, 1500}));
    const times back_to_back = starts("--every 0s --count 2");
    EXPECT_GT(back_to_back.at(1), 0);
    EXPECT_LT(back_to_back.at(1), 500);
    for (const char *wrong :
         {"--every 2", "--every -1s", "--count 0", "--count 2 --for 1s", "--reports none"}) {
        EXPECT_EQ(record("sim:zt430", wrong).status, 2) << wrong;
    }
    EXPECT_TRUE(ends(ovk_with("-s sim:zt430 record -o /none/r"), 2, "/none/r"));
}

TEST_F(recording, as_a_source_goes_through_the_operations_in_order_and_has_no_others) {
    recording_of(files, "r",
                 {{.attribute = "a", .came = {"1", 0, 20, 30}, .log = lines{"x"}},
                  {.attribute = "b", .came = {"2", 0, 40, 50}, .log = lines{"y"}},
                  {.attribute = "a", .came = {"3", 5, 60, 70}, .log = lines{"z"}},
                  {.is_write = true, .attribute = "cpupri", .written = "0 1", .came = {}}},
                 {.boot_ns = 10,
                  .ip_config = {"at first", 0, 8, 9},
                  .settings = {{"cpupri", {"none", 0, 9, 10}}}});
    const auto replay = open_source("file:" + file);
    const auto refused = [&](auto operate) { return outcome_of(operate).status; };

    EXPECT_EQ(replay->now(), 10);
    EXPECT_EQ(replay->read("b").text, "2");
    EXPECT_EQ(replay->now(), 50);
    EXPECT_EQ(replay->log(), lines{"y"});
    EXPECT_EQ(refused([&] { replay->read("b"); }), 4);
    EXPECT_EQ(refused([&] { replay->write("a", "3"); }), 4);
    EXPECT_EQ(replay->read("cpupri").text, "none");
    EXPECT_EQ(replay->read("ip_config").text, "at first");
    EXPECT_EQ(replay->read("a").error, 5);
    EXPECT_EQ(replay->log(), lines{"z"});
    EXPECT_TRUE(replay->has_log());
    EXPECT_EQ(refused([&] { replay->write("cpupri", "0 2"); }), 4);
    EXPECT_EQ(replay->write("cpupri", "0 1").error, 0);
    EXPECT_FALSE(replay->has_log());
    EXPECT_EQ(refused([&] { replay->read("cpupri"); }), 4);
}

}  // namespace ovk::tests
