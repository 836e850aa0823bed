// bkgcolors-defaults — reads and changes the user-defaults files with the verbs of the platform's
// defaults command. A domain is one file of the defaults folder, or the file --defaults names.

#include "platform/DefaultsDomain.h"
#include "platform/StringEncoding.h"
#include "tools/Ascii.h"
#include "tools/CommandLine.h"
#include "tools/Output.h"
#include "tools/PlistText.h"
#include "tools/Translation.h"
#include "tools/ValueArguments.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

namespace {

// What the program prints of its own is translated; what scripts read (the old-style text of
// `read`, `read-type`'s line, the list of `domains`, `find`'s heading, exported XML) is the same in
// every language.
constexpr const char* kUsage = N_(
    // TRANSLATORS: the verbs, options, -TYPE flags, date forms and "Type is" are what the program
    // reads and prints in every language; keep them. The words in capitals are the ones the
    // messages "%s takes %s (try help)" show.
    "usage: bkgcolors-defaults [--defaults FILE] VERB [DOMAIN] [ARGUMENTS]\n"
    "  domains                     the domain names in the defaults folder, comma separated\n"
    "  read [DOMAIN [KEY]]         every domain, one domain, or one value\n"
    "  read-type DOMAIN KEY        the kind of a value: Type is string, integer, ...\n"
    "  write DOMAIN KEY VALUE      a text\n"
    "  write DOMAIN KEY -TYPE VALUE\n"
    "        -string S | -int N | -integer N | -float F | -bool B | -boolean B | -data HEX |\n"
    "        -date 'YYYY-MM-DD HH:MM:SS +ZZZZ' | -date YYYY-MM-DDTHH:MM:SSZ\n"
    "  write DOMAIN KEY -array V... | -array-add V... | -dict K V... | -dict-add K V...\n"
    "        items are texts or -TYPE VALUE; -array-add and -dict-add extend what is there\n"
    "  delete DOMAIN [KEY]         one key, or the whole domain\n"
    "  rename DOMAIN OLD NEW       moves a value to another key\n"
    "  export DOMAIN FILE|-        the domain as an XML property list\n"
    "  import DOMAIN FILE|-        replaces the domain with a property list (binary or XML)\n"
    "  find WORD                   every key and value containing WORD, in any case\n"
    "  help                        this text\n"
    "DOMAIN is a name, standing for $XDG_CONFIG_HOME/DOMAIN.plist (~/.config when unset), or a\n"
    "path containing '/'. With --defaults FILE, or $BKGCOLORS_DEFAULTS, that file is the domain\n"
    "and the verbs take no DOMAIN. '--' ends the options, so that a key may start with '-'.\n"
    "Exit status: 0 done, 1 the key or domain does not exist (or find found nothing),\n"
    "2 bad arguments or values, or a file that cannot be read or written.\n");

using platform::DefaultsDomain;
using platform::PropertyValue;

struct Domain {
    std::string name; // as the user gave it
    DefaultsDomain file;
};

class Tool {
public:
    Tool(int argc, char** argv) : line_("bkgcolors-defaults", kUsage) {
        line_.read(argc, argv, {"--defaults"}, true);
        words_ = line_.operands();
        if (line_.has("--defaults")) {
            fixed_ = line_.value("--defaults");
            if (fixed_->empty())
                line_.fail(_("--defaults needs a file name"));
        } else if (const char* file = std::getenv("BKGCOLORS_DEFAULTS"); file && *file) {
            fixed_ = file;
        }
    }

    int run() {
        if (words_.empty())
            line_.fail(_("missing verb (try help)"));
        const std::string verb = Take();
        if (verb == "help") {
            Done(0);
            std::fputs(_(kUsage), stdout);
            return 0;
        }
        if (verb == "domains")
            return Domains();
        if (verb == "read")
            return Read();
        if (verb == "read-type")
            return ReadType();
        if (verb == "write")
            return Write();
        if (verb == "delete")
            return Delete();
        if (verb == "rename")
            return Rename();
        if (verb == "export")
            return Export();
        if (verb == "import")
            return Import();
        if (verb == "find")
            return Find();
        line_.fail(Fill(_("unknown verb %s (try help)"), verb));
    }

    const CommandLine& line() const { return line_; }

private:
    std::string Take() {
        std::string word = words_.front();
        words_.erase(words_.begin());
        return word;
    }
    // The words left must number from `least` to `most`.
    void Expect(const char* verb, std::size_t least, std::size_t most, const char* form) {
        if (words_.size() < least || words_.size() > most)
            line_.fail(Fill(_("%s takes %s (try help)"), verb, _(form)));
    }
    void Done(std::size_t most) {
        if (words_.size() > most)
            line_.fail(Fill(_("unexpected argument '%s' (try help)"), words_[most]));
    }

    std::string Key() {
        std::string key = Take();
        if (!platform::isValidUTF8(key))
            line_.fail(_("the key is not valid UTF-8"));
        return key;
    }

    Domain NextDomain() {
        if (fixed_)
            return {*fixed_, DefaultsDomain(*fixed_)};
        const std::string name = Take();
        return {name, DefaultsDomain(DomainPath(name))};
    }
    std::string DomainPath(const std::string& name) const {
        if (name.find('/') != std::string::npos)
            return name;
        if (name.empty() || name[0] == '.' || name.find("..") != std::string::npos ||
            !platform::isValidUTF8(name))
            line_.fail(
                Fill(_("'%s' is not a domain name (a name, or a path containing '/')"), name));
        return platform::DefaultsFolder() + "/" + name + ".plist";
    }
    // The forms of a verb's arguments, in the words of the usage, with or without DOMAIN; marked
    // for translation, and translated where they are shown.
    const char* Form(const char* withDomain, const char* without) const {
        return fixed_ ? without : withDomain;
    }
    std::size_t DomainWords() const { return fixed_ ? 0 : 1; }

    // The domain's tree, or only the entry of `onlyKey`; exits 1 when it does not exist and 2 when
    // it cannot be read.
    PropertyValue Load(const Domain& domain, const std::string* onlyKey = nullptr) const {
        PropertyValue root;
        std::string error;
        switch (domain.file.read(root, error, onlyKey)) {
        case DefaultsDomain::Status::Missing:
            line_.fail(Fill(_("domain %s does not exist"), domain.name), 1);
        case DefaultsDomain::Status::Failed:
            line_.fail(Fill(_("cannot read %s: %s"), domain.name, error));
        case DefaultsDomain::Status::Present:
            break;
        }
        return root;
    }

    // Runs `change` under the domain's lock. The change returns 0 to have its tree written, or
    // the exit status to end with, having said why; given `key`, it declines on that key alone.
    int Update(Domain& domain, const std::function<int(PropertyValue&, bool)>& change,
               const std::string* key = nullptr) {
        int status = 0;
        std::string error, notice;
        const auto outcome = domain.file.update(
            [&](PropertyValue& root, bool exists) { return (status = change(root, exists)) == 0; },
            error, notice, key);
        // The store says what it did in its own words; the program says that it is a notice.
        if (!notice.empty()) {
            // TRANSLATORS: %s is the store's own sentence, in English: that an unreadable file
            // was moved aside, and where to.
            const std::string said = Fill(_("notice: %s"), notice);
            std::fprintf(stderr, "%s: %s\n", line_.program(), said.c_str());
        }
        if (outcome == DefaultsDomain::Outcome::Failed)
            line_.fail(Fill(_("cannot write %s: %s"), domain.name, error));
        return status;
    }
    int Missing(const std::string& message) const {
        std::fprintf(stderr, "%s: %s\n", line_.program(), message.c_str());
        return 1;
    }

    std::vector<std::string> DomainList() const {
        std::string error;
        auto names = platform::DomainNames(error);
        if (!names)
            line_.fail(error);
        return *names;
    }

    int Domains() {
        Done(0);
        const auto names = DomainList();
        std::string list;
        for (const std::string& name : names)
            list += (list.empty() ? "" : ", ") + name;
        std::printf("%s\n", list.c_str());
        return 0;
    }

    int Read() {
        Expect("read", 0, DomainWords() + 1, Form(N_("[DOMAIN [KEY]]"), N_("[KEY]")));
        if (words_.empty() && !fixed_)
            return ReadAll();
        const Domain domain = NextDomain();
        const std::optional<std::string> key =
            words_.empty() ? std::nullopt : std::optional<std::string>(Key());
        const PropertyValue root = Load(domain, key ? &*key : nullptr);
        if (!key) {
            std::printf("%s\n", OldStyleText(root).c_str());
            return 0;
        }
        const PropertyValue* value = root.find(*key);
        if (!value)
            return Missing(Fill(_("key %s does not exist in domain %s"), *key, domain.name));
        std::printf("%s\n", BareText(*value).c_str());
        return 0;
    }

    // Every domain of the folder as one dictionary; one that cannot be read is left out and said.
    int ReadAll() {
        PropertyValue all = PropertyValue::Dictionary();
        int status = 0;
        for (const std::string& name : DomainList()) {
            PropertyValue root;
            std::string error;
            if (DefaultsDomain(DomainPath(name)).read(root, error) ==
                DefaultsDomain::Status::Present) {
                all.set(name, std::move(root));
            } else {
                std::fprintf(stderr, "%s: %s\n", line_.program(),
                             Fill(_("cannot read %s: %s"), name, error).c_str());
                status = 2;
            }
        }
        std::printf("%s\n", OldStyleText(all).c_str());
        return status;
    }

    int ReadType() {
        Expect("read-type", DomainWords() + 1, DomainWords() + 1,
               Form(N_("DOMAIN KEY"), N_("KEY")));
        const Domain domain = NextDomain();
        const std::string key = Key();
        const PropertyValue root = Load(domain, &key);
        const PropertyValue* value = root.find(key);
        if (!value)
            return Missing(Fill(_("key %s does not exist in domain %s"), key, domain.name));
        std::printf("Type is %s\n", KindName(*value).c_str());
        return 0;
    }

    int Write() {
        Expect("write", DomainWords() + 2, SIZE_MAX, Form(N_("DOMAIN KEY VALUE"), N_("KEY VALUE")));
        Domain domain = NextDomain();
        const std::string key = Key();
        std::string error;
        auto request = ParseWriteRequest(words_, error);
        if (!request)
            line_.fail(error);
        return Update(
            domain,
            [&](PropertyValue& root, bool) {
                PropertyValue* old = root.find(key);
                using Mode = WriteRequest::Mode;
                const auto want = request->mode == Mode::AddToArray
                                      ? PropertyValue::Kind::Array
                                      : PropertyValue::Kind::Dictionary;
                if (request->mode == Mode::Replace || !old) {
                    root.set(key, request->value);
                    return 0;
                }
                if (old->kind != want) {
                    std::fprintf(stderr, "%s: %s\n", line_.program(),
                                 Fill(_("the value of %s is of type %s, not %s"), key,
                                      KindName(*old),
                                      want == PropertyValue::Kind::Array ? "array" : "dictionary")
                                     .c_str());
                    return 2;
                }
                for (std::size_t i = 0; i < request->value.items.size(); ++i) {
                    if (want == PropertyValue::Kind::Array)
                        old->items.push_back(request->value.items[i]);
                    else
                        old->set(request->value.keys[i], request->value.items[i]);
                }
                return 0;
            },
            &key);
    }

    int Delete() {
        Expect("delete", DomainWords(), DomainWords() + 1, Form(N_("DOMAIN [KEY]"), N_("[KEY]")));
        Domain domain = NextDomain();
        if (words_.empty()) {
            std::string error;
            switch (domain.file.remove(error)) {
            case DefaultsDomain::Status::Missing:
                return Missing(Fill(_("domain %s does not exist"), domain.name));
            case DefaultsDomain::Status::Failed:
                line_.fail(Fill(_("cannot delete %s: %s"), domain.name, error));
            case DefaultsDomain::Status::Present:
                break;
            }
            return 0;
        }
        const std::string key = Key();
        return Update(
            domain,
            [&](PropertyValue& root, bool exists) {
                if (!exists)
                    return Missing(Fill(_("domain %s does not exist"), domain.name));
                if (!root.erase(key))
                    return Missing(Fill(_("key %s does not exist in domain %s"), key, domain.name));
                return 0;
            },
            &key);
    }

    int Rename() {
        Expect("rename", DomainWords() + 2, DomainWords() + 2,
               Form(N_("DOMAIN OLD NEW"), N_("OLD NEW")));
        Domain domain = NextDomain();
        const std::string from = Key(), to = Key();
        return Update(
            domain,
            [&](PropertyValue& root, bool exists) {
                if (!exists)
                    return Missing(Fill(_("domain %s does not exist"), domain.name));
                PropertyValue* value = root.find(from);
                if (!value)
                    return Missing(
                        Fill(_("key %s does not exist in domain %s"), from, domain.name));
                PropertyValue moved = std::move(*value);
                root.erase(from);
                root.set(to, std::move(moved));
                return 0;
            },
            &from);
    }

    int Export() {
        Expect("export", DomainWords() + 1, DomainWords() + 1,
               Form(N_("DOMAIN FILE|-"), N_("FILE|-")));
        const Domain domain = NextDomain();
        const std::string target = Take();
        std::string error;
        auto xml = platform::XmlPropertyList(Load(domain), error);
        if (!xml)
            line_.fail(Fill(_("cannot export %s: %s"), domain.name, error));
        if (target == "-") {
            std::fwrite(xml->data(), 1, xml->size(), stdout);
            return 0;
        }
        if (!platform::WriteWholeFile(target, *xml, error))
            line_.fail(Fill(_("cannot write %s: %s"), target, error));
        return 0;
    }

    int Import() {
        Expect("import", DomainWords() + 1, DomainWords() + 1,
               Form(N_("DOMAIN FILE|-"), N_("FILE|-")));
        Domain domain = NextDomain();
        const std::string source = Take();
        std::string bytes;
        if (source == "-") {
            bytes.assign(std::istreambuf_iterator<char>(std::cin), {});
        } else {
            std::ifstream in(source, std::ios::binary);
            if (!in)
                line_.fail(Fill(_("cannot read %s"), source));
            bytes.assign(std::istreambuf_iterator<char>(in), {});
            if (in.bad())
                line_.fail(Fill(_("cannot read %s"), source));
        }
        std::string error;
        auto imported = platform::ParsePropertyList(bytes, error);
        if (!imported)
            line_.fail(Fill(_("cannot import %s: %s"), source, error));
        return Update(domain, [&](PropertyValue& root, bool) {
            root = *imported;
            return 0;
        });
    }

    int Find() {
        Expect("find", 1, 1, N_("WORD"));
        const std::string word = AsciiLower(Take());
        std::vector<std::string> names;
        if (fixed_)
            names.push_back(*fixed_);
        else
            names = DomainList();
        bool found = false;
        int status = 0;
        for (const std::string& name : names) {
            PropertyValue root, matches = PropertyValue::Dictionary();
            std::string error;
            if (DefaultsDomain(fixed_ ? name : DomainPath(name)).read(root, error) !=
                DefaultsDomain::Status::Present) {
                if (!error.empty()) {
                    std::fprintf(stderr, "%s: %s\n", line_.program(),
                                 Fill(_("cannot read %s: %s"), name, error).c_str());
                    status = 2;
                }
                continue;
            }
            // A domain whose name holds the word matches whole; a file named by path does not.
            const bool wholeDomain = !fixed_ && AsciiLower(name).find(word) != std::string::npos;
            for (std::size_t i = 0; i < root.keys.size(); ++i)
                if (wholeDomain || Contains(root.keys[i], word) || Contains(root.items[i], word))
                    matches.set(root.keys[i], root.items[i]);
            if (matches.keys.empty())
                continue;
            found = true;
            std::printf("Found %zu keys in domain '%s': %s\n", matches.keys.size(), name.c_str(),
                        OldStyleText(matches).c_str());
        }
        if (!found && status == 0)
            return Missing(Fill(_("no domain, key nor value contains '%s'"), word));
        return status;
    }

    static bool Contains(const std::string& text, const std::string& word) {
        return AsciiLower(text).find(word) != std::string::npos;
    }
    static bool Contains(const PropertyValue& value, const std::string& word) {
        if (value.items.empty() && value.keys.empty())
            return Contains(BareText(value), word);
        return std::any_of(value.keys.begin(), value.keys.end(),
                           [&](const std::string& key) { return Contains(key, word); }) ||
               std::any_of(value.items.begin(), value.items.end(),
                           [&](const PropertyValue& item) { return Contains(item, word); });
    }

    CommandLine line_;
    std::vector<std::string> words_;
    std::optional<std::string> fixed_; // the file --defaults or $BKGCOLORS_DEFAULTS names
};

} // namespace

int main(int argc, char** argv) {
    UseCatalogues();
    Tool tool(argc, argv);
    const int status = tool.run();
    return FinishOutput(tool.line().program(), status);
}
