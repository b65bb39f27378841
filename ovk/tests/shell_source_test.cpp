// SPDX-License-Identifier: GPL-2.0-only
// A shell behind links of all kinds. What comes is right, or the source is not reachable.
#include <random>

#include "ovk/source/source.h"
#include "ovk/tests/program.h"
#include "ovk/tests/scratch.h"

namespace ovk::tests {

namespace {

// Every byte, line ends of all kinds, and what a frame is made of.
std::string awkward_text() {
    std::string text = "a\r\nb\rc\n\novk 2 end\r\novk 3 then\n0000007\n";
    for (int each = 0; each < 256; ++each) {
        text += static_cast<char>(each);
    }
    return text + text + text + "no line end";
}

class shell_source : public testing::Test {
  protected:
    shell_source() {
        setenv("OVK_DIRECTORY", files_.path("d").c_str(), 1);
        std::filesystem::create_directory(files_.path("d"));
        files_.put("d/bw_total", text_);
        files_.put("d/bw_emi", "");
        files_.put("d/simple_mon", "0\n");
        files_.put("d/uevent", "");
        std::filesystem::create_symlink("/proc/self/mem", files_.path("d/unreadable"));
        std::filesystem::create_symlink("/dev/full", files_.path("d/full"));
    }
    ~shell_source() override { unsetenv("OVK_DIRECTORY"); }

    // A folder for PATH that has the tools of one program, and its shell or another's.
    std::string tools_of(const std::string &program, const std::string &shell) {
        const std::string folder = files_.path(program);
        std::filesystem::create_directory(folder);
        for (const char *tool : {"cat", "od", "printf", "sed", "dmesg", "tail", "stty", "uname"}) {
            std::filesystem::create_symlink("/usr/bin/" + program, folder + "/" + tool);
        }
        std::filesystem::create_symlink("/usr/bin/" + shell, folder + "/sh");
        return "PATH=" + folder + " " + folder + "/sh";
    }

    // A shell to which this test plays the kernel's log.
    std::string shell_with_dmesg(const std::string &commands) {
        files_.put_program("dmesg", commands);
        return "PATH=" + files_.path() + ":$PATH; sh";
    }

    outcome read_over(const std::string &link) {
        return ovk_with({"-s", "exec:" + link, "read", "bw_total"});
    }

    void expect_right(source &source) {
        EXPECT_EQ(source.read("bw_total").text, text_);
        EXPECT_EQ(source.read("bw_emi").text, "");
        EXPECT_EQ(source.read("none").error, ENOENT);
        EXPECT_EQ(source.read("unreadable").error, EIO);
        EXPECT_EQ(source.write("full", "1").error, ENOSPC);
        EXPECT_EQ(source.write("none", "1").error, ENOENT);
        EXPECT_FALSE(std::filesystem::exists(files_.path("d/none")));
        for (const std::string &written : {text_, std::string("%d \\n $HOME '`")}) {
            EXPECT_EQ(source.write("simple_mon", written).error, 0);
            EXPECT_EQ(files_.content("d/simple_mon"), written);
        }
        EXPECT_EQ(source.attributes(), (lines{"bw_emi", "bw_total", "simple_mon"}));
        const answer first = source.read("bw_emi");
        EXPECT_GT(first.start_ns, 0);
        EXPECT_LE(first.start_ns, first.end_ns);
        EXPECT_LE(first.end_ns, source.now());
    }

    const std::string text_ = awkward_text();
    scratch files_;
};

bool there_is(const std::string &program) {
    return std::filesystem::exists("/usr/bin/" + program);
}

}  // namespace

TEST_F(shell_source,
       is_right_with_any_posix_shell_also_in_a_terminal_that_echoes_and_adds_returns) {
    lines shells = {"sh"};
    if (there_is("busybox")) {
        shells.push_back(tools_of("busybox", "busybox"));
    }
    if (there_is("toybox") && there_is("mksh")) {
        shells.insert(shells.end(), {tools_of("toybox", "mksh"), "mksh"});
    }
    if (shells.size() < 4) {
        std::cout << "without busybox, toybox or mksh\n";
    }
    lines links = shells;
    for (const std::string &each : shells) {
        links.push_back("script -qfE always -c '" + each + " -i' /dev/null");
    }
    links.insert(links.end(), {"sh | sed -u 's/$/\\r/'", "sh | sed -u 's/ / \\r\\r/g'",
                               "echo welcome; echo 'ovk 2 end'; printf '$ '; exec sh"});
    for (const std::string &link : links) {
        SCOPED_TRACE(link);
        expect_right(*open_source("exec:" + link));
    }
}

TEST_F(shell_source, over_a_link_that_is_cut_anywhere_is_right_or_not_reachable) {
    const std::string all = files_.path("all");
    // This machine's kernel log would make the dialogues differ.
    const std::string shell = shell_with_dmesg("exit 1");
    ASSERT_EQ(read_over(shell + " | tee " + all).status, 0);
    const std::size_t length = files_.content("all").size();
    ASSERT_GT(length, 4000u);
    std::mt19937 random(1);

    // The pipeline's own shell would keep the link open.
    const auto cut_after = [&shell](std::size_t bytes) {
        return shell + " | { dd bs=1 status=none count=" + std::to_string(bytes) +
               "; kill -9 $$; }";
    };
    for (int i = 0; i < 40; ++i) {
        const std::size_t moment = random() % (length - 1);
        const outcome came = read_over(cut_after(moment));
        EXPECT_TRUE(ends(came, 3, "the link")) << moment;
        EXPECT_EQ(came.out, "") << moment;
    }
    const outcome whole = read_over(cut_after(length + 1));
    EXPECT_EQ(whole.status, 0) << whole.err;
    EXPECT_EQ(whole.out, text_);
}

TEST_F(shell_source, behind_what_is_no_good_shell_is_not_reachable) {
    const lines links = {
        "true", "false", "/no/such/shell", "kill -9 $$",
        // Without exit statuses, with wrong ones, and where only one command's is lost.
        "sed -u 's/$?//g' | sh", "sed -u 's/$?/0/g' | sh",
        "sed -u 's/4; echo \"$?\" >&4/4; echo 0/' | sh",
        // Bytes lost: line ends, single lines, what stands between the marks.
        "sh | sed -u '/^00000/d'", "sh | sed -u '/then/d'", "sh | sed -u 's/ 1[0-7][0-7]//'",
        "sh | sed -u 's/begin/then/'",
        // Tools that are missing.
        "PATH=/none /bin/sh",
        // A greeting that looks like an answer.
        "echo; echo 'ovk 1 begin'; exec sh"};

    for (const std::string &link : links) {
        const outcome came = read_over(link);
        EXPECT_TRUE(ends(came, 3, "exec:" + link)) << link;
        EXPECT_EQ(came.out, "") << link;
    }
}

TEST_F(shell_source, says_what_is_wrong_with_the_link) {
    EXPECT_TRUE(ends(read_over("echo no route to it >&2; exit 1"), 3, "no route to it"));
    EXPECT_TRUE(has(ovk_with({"-s", "exec:" + shell_with_dmesg("echo 'Not permitted' >&2; exit 1"),
                              "write", "simple_mon", "1"})
                        .err,
                    "whether it was taken is unknown"));
    setenv("OVK_DIRECTORY", "/no/such/directory", 1);
    EXPECT_TRUE(ends(read_over("sh"), 3, "there is no /no/such/directory"));
}

// The messages of a kernel that this test plays.
TEST_F(shell_source, hands_out_new_messages_of_the_kernel_once_where_they_can_be_seen) {
    const std::string log = files_.put("log", "[    1.000000] old\n[   12.345678] last\n");
    const std::string link = "exec:" + shell_with_dmesg("exec cat " + log);
    const auto source = open_source(link);

    EXPECT_TRUE(source->has_log());
    EXPECT_EQ(source->log(), lines{});
    files_.put("log", files_.content("log") + "[   12.345678] twin\n[  100.000001] [OVK_BW]\xff\n");
    EXPECT_EQ(source->log(), (lines{"twin", "[OVK_BW]\xff"}));
    EXPECT_EQ(source->log(), lines{});
    files_.put("log", "[  100.000002] after it was emptied\n");
    EXPECT_EQ(source->log(), lines{"after it was emptied"});
    files_.put("log", "");
    EXPECT_EQ(source->log(), lines{});
    std::filesystem::remove(log);
    EXPECT_EQ(source->log(), lines{});
    EXPECT_FALSE(source->has_log());

    EXPECT_FALSE(open_source(link)->has_log());
    files_.put("log", "no time stamps\n");
    EXPECT_FALSE(open_source(link)->has_log());
    files_.put("log", "");
    EXPECT_TRUE(open_source(link)->has_log());
}

}  // namespace ovk::tests
