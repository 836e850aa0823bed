// End-to-end tests of the two programs: the host loads the real pane module and both programs
// work on a temporary defaults file.

#include "platform/UserDefaults.h"
#include "support/TempFolder.h"

#include "support/Testing.h"

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

struct Outcome {
    int status; // -1 when the program did not exit by itself
    std::string out, err;
};

// For the shell; no argument or path here holds a single quote.
const auto Quote = [](const std::string& arg) { return "'" + arg + "'"; };

const auto Environment = [](const char* n) { return std::string(getenv(n) ? getenv(n) : ""); };

class ProgramsTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (Environment("BKGCOLORS_BIN").empty() || plugin.empty())
            GTEST_SKIP() << "BKGCOLORS_BIN and BKGCOLORS_PLUGIN are set by ctest";
    }

    // A program that waits for ever fails the test instead of stalling it.
    Outcome Program(const std::string& name, const std::vector<std::string>& args,
                    const std::string& out = "") {
        std::string command =
            prefix + "timeout 120 " + Quote(Environment("BKGCOLORS_BIN") + "/" + name);
        for (const auto& arg : args)
            command += " " + Quote(arg);
        command += " >" + Quote(out.empty() ? folder / "out" : out) + " 2>" + Quote(folder / "err");
        int raw = std::system(command.c_str());
        return {raw != -1 && WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, ReadBytes(folder / "out"),
                ReadBytes(folder / "err")};
    }
    Outcome Host(std::vector<std::string> args) {
        args.insert(args.begin(), {"--plugin", plugin, "--defaults", store});
        return Program("bkgcolors-pane", args);
    }
    Outcome Defaults(std::vector<std::string> args) {
        args.insert(args.begin(), {"--defaults", store});
        return Program("bkgcolors-defaults", args);
    }

    // Runs later programs under the locale `name` generated in the test's folder, for numbers
    // too; false when it cannot be made.
    bool Speak(const std::string& name) {
        const std::string locales = folder / "locales";
        const std::string make = "mkdir -p " + Quote(locales) + " && localedef -i de_DE -f UTF-8 " +
                                 Quote(locales + "/" + name) + " >/dev/null 2>&1";
        std::system(make.c_str());
        prefix = "env -u LANGUAGE LC_ALL=" + name + " LOCPATH=" + Quote(locales) + " ";
        return std::filesystem::is_directory(locales + "/" + name);
    }

    TempFolder folder;
    std::string store = folder / "defaults.plist", plugin = Environment("BKGCOLORS_PLUGIN");
    std::string prefix; // what runs the programs (a folder, an environment), before their name
};

const auto Lines = [](const std::string& t) { return std::count(t.begin(), t.end(), '\n'); };

TEST_F(ProgramsTest, HostShowsTheDefaultThenStoresTheChosenColourAsOnePackedInteger) {
    Outcome run = Host({});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out, "currentColorWell #E6E6E6 0.9019608 0.9019608 0.9019608 1\n"
                       "newColorWell #E6E6E6 0.9019608 0.9019608 0.9019608 1\n");
    EXPECT_EQ(run.err, "");
    EXPECT_FALSE(std::filesystem::exists(store)) << "showing writes nothing";
    struct Row {
        std::vector<std::string> colour;
        const char* stored;
        std::string shown;
    };
    const Row rows[] = {
        {{"#123456"}, "5649426", "#123456"}, // 0x563412: red in the lowest byte
        {{"0.5,1,0"}, "65407", "#7FFF00"},   // 0.5 truncates to 127
        {{"#00F"}, "16711680", "#0000FF"},          {{"rgb(1, 2,3)"}, "197121", "#010203"},
        {{"#FEDCBAFF"}, "12246270", "#FEDCBA"}, // an opaque alpha is no alpha
        {{"--white", "0.5"}, "8355711", "#7F7F7F"},
    };
    for (const auto& [colour, stored, shown] : rows) {
        SCOPED_TRACE(colour.back());
        Outcome run = Host(colour);
        EXPECT_EQ(run.status, 0) << run.err;
        EXPECT_EQ(run.out.substr(run.out.rfind("stored")),
                  "stored " + shown + " (" + stored + ")\n");
        EXPECT_EQ(Defaults({"read", "BkgColorsSelectedColor"}).out, stored + std::string("\n"));
        Outcome show = Host({});
        EXPECT_EQ(show.out.substr(0, 24), "currentColorWell " + shown);
        EXPECT_NE(show.out.find(" 1\nnewColorWell " + shown), std::string::npos)
            << "shown opaque in both wells: " << show.out;
    }
    EXPECT_EQ(Program("bkgcolors-pane", {"--defaults", store}).out, Host({}).out)
        << "without --plugin the host opens the module installed beside it";
    EXPECT_EQ(Defaults({"delete", "BkgColorsSelectedColor"}).status, 0);
    Outcome absent = Defaults({"read", "BkgColorsSelectedColor"});
    EXPECT_EQ(absent.status, 1);
    EXPECT_EQ(Lines(absent.err), 1) << absent.err;
    EXPECT_EQ(Host({}).out.substr(0, 24), "currentColorWell #E6E6E6") << "the default again";
}

// Every bad invocation of the host: status 2, one line on stderr, the store's bytes unchanged, no
// crash. The defaults tool's are in defaults_tool_test.py.
TEST_F(ProgramsTest, BadInvocationsFailCleanlyAndLeaveTheStoreAlone) {
    ASSERT_EQ(Defaults({"write", "BkgColorsSelectedColor", "-int", "42"}).status, 0);
    const std::string before = ReadBytes(store);
    WriteBytes(folder / "blocker", "a file where a folder should be");
    const std::string fifo = folder / "fifo.plist";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    const std::string blocked = folder / "blocker/defaults.plist",
                      library = Environment("BKGCOLORS_BIN") + "/../lib/libbkgcolors_base.so";
    struct Row {
        const char* name;
        std::vector<std::string> args;
        bool withStore; // --defaults with the test's store and --plugin with its plug-in first
    };
    const Row rows[] = {
        {"unknown option", {"--bogus"}, true},
        {"component past 1", {"1.5,0,0"}, true},
        {"component not a number", {"nan,0,0"}, true},
        {"no colour syntax", {"abc"}, true},
        {"two colours", {"#112233", "#445566"}, true},
        {"white past 1", {"--white", "2"}, true},
        {"white and a colour", {"--white", "0.5", "#123"}, true},
        {"decimal alpha", {"0,0,1,0.25"}, true},
        {"hex alpha", {"#3366CC80"}, true},
        {"rgba alpha", {"rgba(1, 2, 3, 0.5)"}, true},
        {"rgb past 255", {"rgb(256, 0, 0)"}, true},
        {"no module", {"--plugin", "/none/pane.so", "--defaults", store, "#112233"}, false},
        {"not a module", {"--plugin", store, "--defaults", store, "#112233"}, false},
        {"no pane factory", {"--plugin", library, "--defaults", store, "#112233"}, false},
        {"store path blocked", {"--plugin", plugin, "--defaults", blocked, "#112233"}, false},
        {"store option without value", {"--plugin", plugin, "--defaults"}, false},
        // A FIFO nobody writes to would block a reader for ever.
        {"store a FIFO", {"--plugin", plugin, "--defaults", fifo}, false},
        {"store a FIFO, with a colour", {"--plugin", plugin, "--defaults", fifo, "#123456"}, false},
    };
    for (const auto& [name, args, withStore] : rows) {
        SCOPED_TRACE(name);
        Outcome run = withStore ? Host(args) : Program("bkgcolors-pane", args);
        EXPECT_EQ(run.status, 2);
        EXPECT_EQ(Lines(run.err), 1) << run.err;
        EXPECT_EQ(ReadBytes(store), before);
    }
    EXPECT_EQ(ReadBytes(folder / "blocker"), "a file where a folder should be");
}

TEST_F(ProgramsTest, AFailedWriteOfTheHostsOwnOutputIsExitTwoWithOneLine) {
    for (const std::vector<std::string>& args :
         {std::vector<std::string>{"--plugin", plugin, "--defaults", store}, {"--help"}}) {
        SCOPED_TRACE(::testing::PrintToString(args));
        Outcome run = Program("bkgcolors-pane", args, "/dev/full");
        EXPECT_EQ(run.status, 2);
        EXPECT_EQ(Lines(run.err), 1) << run.err;
    }
}

TEST_F(ProgramsTest, GermanMessagesAroundWellLinesThatStayTheSame) {
    const std::vector<std::string> colours[] = {{}, {"#123456"}, {"0.5,1,0"}, {"--white", "0.25"}};
    // Each from the default colour, so that the wells show the same in both languages.
    const auto Fresh = [&](const std::vector<std::string>& colour) {
        std::filesystem::remove(store);
        return Host(colour);
    };
    std::vector<std::string> english;
    for (const auto& colour : colours)
        english.push_back(Fresh(colour).out);
    ASSERT_TRUE(Speak("de_DE.UTF-8")) << "localedef made no German locale";
    for (std::size_t i = 0; i < english.size(); ++i) {
        SCOPED_TRACE(english[i]);
        Outcome run = Fresh(colours[i]);
        EXPECT_EQ(run.status, 0) << run.err;
        EXPECT_EQ(run.out, english[i]) << "components keep their dot";
    }
    struct Row {
        const char* name;
        std::vector<std::string> args;
        int status;
        std::string said; // on stderr, or on stdout for a status of 0
    };
    const Row rows[] = {
        {"colour", {"abc"}, 2, "bkgcolors-pane: unbekannte Farbe 'abc' (erlaubt sind #RRGGBB, "},
        {"alpha", {"#3366CC80"}, 2, "kein Alphawert gespeichert: '#3366CC80' ist nicht voll"},
        {"white", {"--white", "0,5"}, 2, "Weißwert '0,5' ist keine Zahl von 0 bis 1"},
        {"option", {"--bogus"}, 2, "bkgcolors-pane: unbekannte Option --bogus (siehe --help)\n"},
        {"help", {"--help"}, 0, "Aufruf: bkgcolors-pane [--plugin PFAD]"},
    };
    for (const auto& [name, args, status, said] : rows) {
        SCOPED_TRACE(name);
        Outcome run = Host(args);
        EXPECT_EQ(run.status, status);
        EXPECT_NE((status ? run.err : run.out).find(said), std::string::npos) << run.out << run.err;
    }
}

// The host opens the standard store when no --defaults is given, and makes the folders it needs.
TEST_F(ProgramsTest, TheStandardStoreFileFollowsTheEnvironment) {
    const std::string f = folder.path();
    const std::pair<std::string, std::string> rows[] = {
        // A relative file lies in the folder the host runs in.
        {"BKGCOLORS_DEFAULTS=new/named.plist", f + "/new/named.plist"},
        {"XDG_CONFIG_HOME=" + f + "/x/y", f + "/x/y/org.bkgcolors.host.plist"},
        {"XDG_CONFIG_HOME=relative HOME=" + f + "/h1", f + "/h1/.config/org.bkgcolors.host.plist"},
        {"XDG_CONFIG_HOME= HOME=" + f + "/h2", f + "/h2/.config/org.bkgcolors.host.plist"},
    };
    for (const auto& [assignments, file] : rows) {
        SCOPED_TRACE(assignments);
        prefix = "cd " + Quote(f) + " && env -u BKGCOLORS_DEFAULTS -u XDG_CONFIG_HOME " +
                 assignments + " ";
        const Outcome run = Program("bkgcolors-pane", {"--plugin", plugin, "#123456"});
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.err, "");
        EXPECT_EQ(platform::UserDefaults(file).integerForKey("BkgColorsSelectedColor"), 0x563412);
    }
}

TEST_F(ProgramsTest, PendingChangesOfTheStandardStoreAreWrittenAtNormalExit) {
    pid_t child = fork();
    if (child == 0) {
        platform::UserDefaults::setStandardPath(store);
        platform::UserDefaults::standardUserDefaults().setObject(std::int32_t{5}, "k");
        std::exit(0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(platform::UserDefaults(store).integerForKey("k"), 5);
}

} // namespace
