// End-to-end tests of the two programs: the host loads the real pane module and both programs
// work on a temporary defaults file.

#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <sys/wait.h>
#include <vector>

namespace {

struct Outcome {
    bool exited = false; // false when the program died of a signal
    int status = -1;
    std::string out;
    std::string err;
};

std::string Quote(const std::string& arg) {
    std::string quoted = "'";
    for (char c : arg) {
        if (c == '\'')
            quoted += "'\\''";
        else
            quoted += c;
    }
    return quoted + "'";
}

std::string Environment(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

class ProgramsTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (Environment("BKGCOLORS_BIN").empty() || Environment("BKGCOLORS_PLUGIN").empty())
            GTEST_SKIP() << "BKGCOLORS_BIN and BKGCOLORS_PLUGIN are set by ctest";
    }

    Outcome Program(const std::string& name, const std::vector<std::string>& args) {
        std::string command = Quote(Environment("BKGCOLORS_BIN") + "/" + name);
        for (const auto& arg : args)
            command += " " + Quote(arg);
        command += " >" + Quote(folder / "out") + " 2>" + Quote(folder / "err");
        int raw = std::system(command.c_str());
        Outcome run;
        run.exited = raw != -1 && WIFEXITED(raw);
        run.status = run.exited ? WEXITSTATUS(raw) : -1;
        run.out = ReadBytes(folder / "out");
        run.err = ReadBytes(folder / "err");
        return run;
    }
    Outcome Host(std::vector<std::string> args) {
        args.insert(args.begin(),
                    {"--plugin", Environment("BKGCOLORS_PLUGIN"), "--defaults", store});
        return Program("bkgcolors-pane", args);
    }
    Outcome Defaults(std::vector<std::string> args) {
        args.insert(args.begin(), {"--defaults", store});
        return Program("bkgcolors-defaults", args);
    }

    TempFolder folder;
    std::string store = folder / "defaults.plist";
};

int Lines(const std::string& text) {
    return static_cast<int>(std::count(text.begin(), text.end(), '\n'));
}

TEST_F(ProgramsTest, HostShowsTheDefaultGreyOnAFreshStore) {
    Outcome run = Host({});
    ASSERT_TRUE(run.exited);
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out, "currentColorWell #E6E6E6 0.9019608 0.9019608 0.9019608 1\n"
                       "newColorWell #E6E6E6 0.9019608 0.9019608 0.9019608 1\n");
    EXPECT_EQ(run.err, "");
    EXPECT_FALSE(Exists(store)) << "showing writes nothing";
}

TEST_F(ProgramsTest, ColourSetByTheHostIsStoredAsOnePackedInteger) {
    const struct {
        std::vector<std::string> colour;
        const char* stored;
        const char* shown;
    } rows[] = {
        {{"#123456"}, "5649426", "#123456"}, // 0x563412: red in the lowest byte
        {{"#ffffff"}, "16777215", "#FFFFFF"},
        {{"0.5,1,0"}, "65407", "#7FFF00"}, // 0.5 truncates to 127
        {{"0,0,1,0.25"}, "16711680", "#0000FF"},
        {{"--white", "0.5"}, "8355711", "#7F7F7F"},
    };
    for (const auto& row : rows) {
        Outcome set = Host(row.colour);
        ASSERT_TRUE(set.exited);
        EXPECT_EQ(set.status, 0) << set.err;
        Outcome read = Defaults({"read", "BkgColorsSelectedColor"});
        EXPECT_EQ(read.status, 0) << read.err;
        EXPECT_EQ(read.out, std::string(row.stored) + "\n") << row.colour[0];
        Outcome show = Host({});
        EXPECT_EQ(show.out.substr(0, show.out.find(' ', 17)),
                  std::string("currentColorWell ") + row.shown)
            << show.out;
        EXPECT_NE(show.out.find(" 1\nnewColorWell " + std::string(row.shown)), std::string::npos)
            << "shown opaque in both wells: " << show.out;
    }
}

TEST_F(ProgramsTest, DefaultsToolWritesReadsAndDeletesEachKind) {
    EXPECT_EQ(Defaults({"write", "n", "-int", "-2147483648"}).status, 0);
    EXPECT_EQ(Defaults({"write", "s", "-string", "tab\there \xC3\xA9"}).status, 0);
    EXPECT_EQ(Defaults({"write", "d", "-data", "00FFa0"}).status, 0);
    EXPECT_EQ(Defaults({"read", "n"}).out, "-2147483648\n");
    EXPECT_EQ(Defaults({"read", "s"}).out, "tab\there \xC3\xA9\n");
    EXPECT_EQ(Defaults({"read", "d"}).out, "<00ffa0>\n");
    EXPECT_EQ(Defaults({"read"}).out, "{\n    \"d\" = <00ffa0>;\n    \"n\" = -2147483648;\n    "
                                      "\"s\" = \"tab\\there \xC3\xA9\";\n}\n");

    EXPECT_EQ(Defaults({"delete", "n"}).status, 0);
    Outcome absent = Defaults({"read", "n"});
    EXPECT_EQ(absent.status, 1);
    EXPECT_EQ(absent.out, "");
    EXPECT_EQ(Lines(absent.err), 1) << absent.err;
    std::string before = ReadBytes(store);
    EXPECT_EQ(Defaults({"delete", "n"}).status, 0) << "deleting an absent key is not an error";
    EXPECT_EQ(ReadBytes(store), before);
}

// Every bad invocation: status 2, one line on stderr, the store's bytes unchanged, no crash.
TEST_F(ProgramsTest, BadInvocationsFailCleanlyAndLeaveTheStoreAlone) {
    ASSERT_EQ(Defaults({"write", "BkgColorsSelectedColor", "-int", "42"}).status, 0);
    const std::string before = ReadBytes(store);
    WriteBytes(folder / "blocker", "a file where a folder should be");
    const std::string blocked = folder / "blocker/defaults.plist";

    const struct {
        const char* program;
        std::vector<std::string> args;
        bool withStore; // the row gets --defaults with the test's store (and the host its plug-in)
    } rows[] = {
        {"bkgcolors-pane", {"--bogus"}, true},
        {"bkgcolors-pane", {"#12345"}, true},
        {"bkgcolors-pane", {"#1234567"}, true},
        {"bkgcolors-pane", {"#GG0000"}, true},
        {"bkgcolors-pane", {"1.5,0,0"}, true},
        {"bkgcolors-pane", {"-0.1,0,0"}, true},
        {"bkgcolors-pane", {"0.1,0.2"}, true},
        {"bkgcolors-pane", {"0.1,,0.2"}, true},
        {"bkgcolors-pane", {"0.1,0.2,0.3,0.4,0.5"}, true},
        {"bkgcolors-pane", {"nan,0,0"}, true},
        {"bkgcolors-pane", {"abc"}, true},
        {"bkgcolors-pane", {"#112233", "#445566"}, true},
        {"bkgcolors-pane", {"--white"}, true},
        {"bkgcolors-pane", {"--white", "2"}, true},
        {"bkgcolors-pane",
         {"--plugin", "/nonexistent/pane.so", "--defaults", "STORE", "#112233"},
         false},
        {"bkgcolors-pane", {"--plugin", "STORE", "--defaults", "STORE", "#112233"}, false},
        {"bkgcolors-pane", {"--plugin", "PLUGIN", "--defaults", blocked, "#112233"}, false},
        {"bkgcolors-pane", {"--plugin", "PLUGIN", "--defaults"}, false},
        {"bkgcolors-defaults", {}, true},
        {"bkgcolors-defaults", {"--bogus", "read"}, true},
        {"bkgcolors-defaults", {"frobnicate"}, true},
        {"bkgcolors-defaults", {"read", "a", "b"}, true},
        {"bkgcolors-defaults", {"write", "BkgColorsSelectedColor"}, true},
        {"bkgcolors-defaults", {"write", "BkgColorsSelectedColor", "-int", "abc"}, true},
        {"bkgcolors-defaults", {"write", "BkgColorsSelectedColor", "-int", "2147483648"}, true},
        {"bkgcolors-defaults", {"write", "BkgColorsSelectedColor", "-int", ""}, true},
        {"bkgcolors-defaults", {"write", "BkgColorsSelectedColor", "-data", "abc"}, true},
        {"bkgcolors-defaults", {"write", "BkgColorsSelectedColor", "-data", "zz"}, true},
        {"bkgcolors-defaults", {"write", "BkgColorsSelectedColor", "-float", "1"}, true},
        {"bkgcolors-defaults", {"write", "BkgColorsSelectedColor", "-string", "\xFF"}, true},
        {"bkgcolors-defaults", {"write", "\xC3", "-int", "1"}, true},
        {"bkgcolors-defaults", {"delete"}, true},
        {"bkgcolors-defaults", {"--defaults"}, false},
        {"bkgcolors-defaults", {"--defaults", blocked, "write", "k", "-int", "1"}, false},
    };
    for (const auto& row : rows) {
        std::vector<std::string> args;
        for (const std::string& arg : row.args)
            args.push_back(arg == "STORE"    ? store
                           : arg == "PLUGIN" ? Environment("BKGCOLORS_PLUGIN")
                                             : arg);
        std::string name = std::string(row.program);
        Outcome run;
        if (!row.withStore)
            run = Program(row.program, args);
        else if (name == "bkgcolors-pane")
            run = Host(args);
        else
            run = Defaults(args);
        std::string shown = name;
        for (const auto& arg : row.args)
            shown += " " + arg;
        ASSERT_TRUE(run.exited) << shown;
        EXPECT_EQ(run.status, 2) << shown;
        EXPECT_EQ(Lines(run.err), 1) << shown << "\n" << run.err;
        EXPECT_EQ(ReadBytes(store), before) << shown;
    }
    EXPECT_EQ(ReadBytes(folder / "blocker"), "a file where a folder should be");
}

TEST_F(ProgramsTest, DamagedStoreIsSetAsideAndTheDefaultShown) {
    WriteBytes(store, "not a property list");
    Outcome run = Host({});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(Lines(run.err), 1) << run.err;
    EXPECT_NE(run.out.find("#E6E6E6"), std::string::npos);
    EXPECT_EQ(ReadBytes(store + ".corrupt"), "not a property list");
}

} // namespace
