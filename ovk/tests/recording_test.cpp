// SPDX-License-Identifier: GPL-2.0-only
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "ovk/base/failure.h"
#include "ovk/source/recorder.h"
#include "ovk/tests/program.h"
#include "ovk/tests/scratch.h"

namespace ovk::tests {

namespace {

using lines = std::vector<std::string>;

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
    std::string bytes;
    for (int each = 0; each < 256; ++each) {
        bytes += static_cast<char>(each);
    }
    return bytes;
}

const std::string texts[] = {
    "",     "plain\n",      "\x1b[4m \"quoted\"\r\n", "\xc3\xbc\xe2\x82\xac",
    "\xff", "cut \xe2\x82", std::string(1, '\0'),     all_bytes()};

// Operations with these texts, read and written, without a log, with an empty one and with a full.
std::vector<operation> operations_with_texts() {
    std::vector<operation> all;
    std::int64_t time = 0;
    for (const std::string &text : texts) {
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

bool same(const operation &one, const operation &other) {
    return one.is_write == other.is_write && one.attribute == other.attribute &&
           one.written == other.written && one.came.text == other.came.text &&
           one.came.error == other.came.error && one.came.start_ns == other.came.start_ns &&
           one.came.end_ns == other.came.end_ns && one.log == other.log;
}

std::vector<operation> operations_of(const std::string &file) {
    recording_reader reader(file);
    std::vector<operation> found;
    while (auto each = reader.next()) {
        found.push_back(*each);
    }
    return found;
}

int status_of_opening(const std::string &file) {
    try {
        operations_of(file);
        return 0;
    } catch (const failure &error) {
        return static_cast<int>(error.status());
    }
}

}  // namespace

TEST(recording, keeps_every_byte_time_error_and_message) {
    const scratch files;
    const std::vector<operation> all = operations_with_texts();
    {
        recording_writer writer(files.path("r"), {.version = "7",
                                                  .source = "exec:\xff",
                                                  .facts = {{"kernel_release", "6.1"}},
                                                  .boot_ns = 42,
                                                  .utc = "2026-01-02T03:04:05Z",
                                                  .attributes = {"a", "b"},
                                                  .ip_config = {"\xfe", 0, 1, 2},
                                                  .settings = {{"cpupri", {"", 13, 3, 4}}},
                                                  .unreadable = {"mask"}});
        for (const operation &each : all) {
            writer.add(each);
        }
        EXPECT_EQ(writer.bytes(), files.content("r").size());
    }

    const recording_reader reader(files.path("r"));
    EXPECT_EQ(reader.header().version, "7");
    EXPECT_EQ(reader.header().source, "exec:\xff");
    EXPECT_EQ(reader.header().facts.at("kernel_release"), "6.1");
    EXPECT_EQ(reader.header().facts.at("module_version"), "");
    EXPECT_EQ(reader.header().boot_ns, 42);
    EXPECT_EQ(reader.header().utc, "2026-01-02T03:04:05Z");
    EXPECT_EQ(reader.header().attributes, (lines{"a", "b"}));
    EXPECT_EQ(reader.header().ip_config.text, "\xfe");
    EXPECT_EQ(reader.header().settings.at("cpupri").error, 13);
    EXPECT_EQ(reader.header().unreadable, lines{"mask"});
    const auto found = operations_of(files.path("r"));
    ASSERT_EQ(found.size(), all.size());
    for (std::size_t i = 0; i < all.size(); ++i) {
        EXPECT_TRUE(same(found[i], all[i])) << i;
    }
}

TEST(recording, cut_at_any_byte_has_the_operations_whose_lines_are_whole) {
    const scratch files;
    ASSERT_EQ(ovk_with({"-s", "sim:zt410", "record", "-o", files.path("r"), "--count", "2",
                        "--reports", "bus,fifo"})
                  .status,
              0);
    const std::string whole = files.content("r");
    const auto all = operations_of(files.path("r"));
    ASSERT_EQ(all.size(), 4u);

    // The header is long, and any place in it is like another.
    const std::size_t head = whole.find('\n');
    for (std::size_t length = 0; length < whole.size(); length += length + 100 < head ? 97 : 1) {
        const std::string cut = files.put("cut", whole.substr(0, length));
        const auto whole_lines = std::count(whole.begin(), whole.begin() + long(length), '\n');
        if (whole_lines == 0) {
            EXPECT_EQ(status_of_opening(cut), 3) << length;
            continue;
        }
        const auto found = operations_of(cut);
        ASSERT_EQ(found.size(), std::size_t(whole_lines - 1)) << length;
        for (std::size_t i = 0; i < found.size(); ++i) {
            EXPECT_TRUE(same(found[i], all[i])) << length;
        }
    }
}

TEST(recording, that_is_damaged_or_of_another_format_is_refused_with_its_line) {
    const scratch files;
    ovk_with(
        {"-s", "sim:zt410", "record", "-o", files.path("r"), "--count", "2", "--reports", "bus"});
    const lines whole = lines_of(files.content("r"));
    const std::string head = whole.at(0) + "\n";
    auto other_format = nlohmann::json::parse(whole.at(0));
    other_format["ovk_recording"] = 2;
    const auto with = [&](const std::string &members) {
        return head + R"({"op":"read","attribute":"a","start_ns":0,"log":[],)" + members + "}\n";
    };

    const struct {
        std::string content;
        const char *says;
    } damages[] = {
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
    for (const auto &damage : damages) {
        files.put("damaged", damage.content);
        const outcome came = ovk_with({"-s", "file:" + files.path("damaged"), "read", "none"});
        EXPECT_EQ(came.status, 3) << damage.content;
        EXPECT_NE(came.err.find(damage.says), std::string::npos) << came.err;
    }
    ovk_with({"-s", "file:" + files.path("r"), "record", "-o", files.path("r"), "--count", "1"});
    EXPECT_EQ(lines_of(files.content("r")), whole);
    EXPECT_EQ(status_of_opening(files.path()), 3);
    EXPECT_EQ(status_of_opening(files.path("none")), 3);
}

// The source itself, then what was written down of it.
TEST(record, then_the_same_command_on_the_recording_gives_the_same_bytes) {
    const scratch files;
    for (const char *attribute :
         {"bw_total", "bw_larb", "bw_scomm", "bw_emi", "bw_bus", "fifo_status"}) {
        const std::string report = std::string(attribute) == "fifo_status" ? "fifo" : attribute + 3;
        ASSERT_EQ(ovk_with({"-s", "sim:zt440,overload", "record", "-o", files.path("r"), "--count",
                            "1", "--reports", report})
                      .err,
                  "");
        const outcome live = ovk_with({"-s", "sim:zt440,overload", "read", attribute});
        const outcome replayed = ovk_with({"-s", "file:" + files.path("r"), "read", attribute});
        EXPECT_EQ(replayed.out, live.out) << attribute;
        EXPECT_FALSE(live.out.empty()) << attribute;
        EXPECT_EQ(replayed.status, 0);
        EXPECT_EQ(ovk_with({"-s", "file:" + files.path("r"), "read", "ip_config"}).out,
                  ovk_with({"-s", "sim:zt440", "read", "ip_config"}).out);
    }
}

TEST(record, keeps_its_rounds_apart_and_ends_after_the_time_or_the_count) {
    const scratch files;
    const auto starts = [&](const lines &options) {
        lines words = {"-s", "sim:zt430,idle", "record", "-o", files.path("r"), "--reports", "bus"};
        words.insert(words.end(), options.begin(), options.end());
        EXPECT_EQ(ovk_with(words).status, 0);
        std::vector<std::int64_t> found;
        for (const operation &each : operations_of(files.path("r"))) {
            found.push_back(each.came.start_ns / 1'000'000);
        }
        return found;
    };
    using times = std::vector<std::int64_t>;
    EXPECT_EQ(starts({"--every", "2s", "--count", "3"}), (times{0, 2000, 4000}));
    EXPECT_EQ(starts({"--every", "500ms", "--for", "2s"}), (times{0, 500, 1000, 1500}));
    const times back_to_back = starts({"--every", "0s", "--count", "2"});
    EXPECT_GT(back_to_back.at(1), 0);
    EXPECT_LT(back_to_back.at(1), 500);
    for (const lines &wrong :
         {lines{"--every", "2"}, lines{"--every", "-1s"}, lines{"--count", "0"},
          lines{"--count", "2", "--for", "1s"}, lines{"--reports", "none"}}) {
        lines words = {"-s", "sim:zt430", "record", "-o", files.path("r")};
        words.insert(words.end(), wrong.begin(), wrong.end());
        EXPECT_EQ(ovk_with(words).status, 2) << wrong.at(0) << wrong.at(1);
    }
    EXPECT_EQ(ovk_with({"-s", "sim:zt430", "record", "-o", files.path("no/r")}).status, 2);
}

TEST(file_source, goes_through_the_operations_in_order_and_has_no_others) {
    const scratch files;
    {
        recording_writer writer(files.path("r"), {.source = "x",
                                                  .facts = {},
                                                  .boot_ns = 10,
                                                  .ip_config = {"at first", 0, 8, 9},
                                                  .settings = {{"cpupri", {"none", 0, 9, 10}}}});
        writer.add({.attribute = "a", .came = {"1", 0, 20, 30}, .log = lines{"x"}});
        writer.add({.attribute = "b", .came = {"2", 0, 40, 50}, .log = lines{"y"}});
        writer.add({.attribute = "a", .came = {"3", 5, 60, 70}, .log = lines{"z"}});
        writer.add({.is_write = true, .attribute = "cpupri", .written = "0 1", .came = {}});
    }
    const auto replay = open_source("file:" + files.path("r"));
    const auto refused = [&](auto operate) {
        try {
            operate();
            return 0;
        } catch (const failure &error) {
            return static_cast<int>(error.status());
        }
    };

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
