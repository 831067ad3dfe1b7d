// Configuration profiles end to end: apply-profile on hand-written profiles
// of every shape (XML, binary, signed, global payloads, extra payloads) and
// on hostile ones; export-profile's payloads and refusals; and the round
// trip between the real stores.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <tuple>

#include "support/CFText.h"
#include "support/ProgramHarness.h"

namespace {

const char kIMac[] = "imac-ethernet-pac.plist";  // two active services, "Ethernet" with PAC on
const char kMacBook[] = "macbook-air-http-proxy-ppp.plist";
const char kBinary[] = "ios-binary.plist";
const char kSets[] = "four-sets.plist";  // the current set: service 10 active, 11 inactive
const std::string kEthernet = "1838D499-D1F7-4102-909F-EDFB6C16897B";
const std::string kAdaptor = "E85BB583-ECDD-469D-BED0-8E051CC976B5";
const char kPACURL[] = "http://wpad.mms-dresden.telekom.de/wpad.dat";

std::string StoreText(const std::string& name) {
    return TempRoot::ReadFile(name == kSets ? std::string(MORESC_TEST_DATA_DIR) + "/" + name
                                            : std::string(TARNWICK_STORES_DIR) + "/" + name);
}

// A payload of type with identifier and its own keys.
Value Payload(const std::string& type, const std::string& id, std::vector<std::pair<std::string, Value>> keys) {
    keys.insert(keys.end(), {{"PayloadType", Str(type)}, {"PayloadIdentifier", Str(id)},
                             {"PayloadUUID", Str("5A1E0B7C-2D4F-4E8A-9B3C-" + std::to_string(id.size()) + "0")},
                             {"PayloadVersion", Number(1)}});
    return Dict(keys);
}
Value Profile(const std::vector<Value>& payloads) {
    return Dict({{"PayloadType", Str("Configuration")}, {"PayloadIdentifier", Str("com.example.fleet")},
                 {"PayloadUUID", Str("0C1D2E3F-4A5B-4C6D-8E7F-901A2B3C4D5E")}, {"PayloadVersion", Number(1)},
                 {"PayloadDisplayName", Str("Fleet")}, {"PayloadContent", Array(payloads)}});
}

// The proxies of the office: the store's bypass list and a web proxy.
Value Office() {
    return Dict({{"ExceptionsList", Array({Str("*.local"), Str("169.254/16")})}, {"FTPPassive", Number(1)},
                 {"HTTPEnable", Number(1)}, {"HTTPProxy", Str("proxy.example.com")}, {"HTTPPort", Number(3128)}});
}
Value SystemConfiguration(const Value& proxies) {
    return Payload("com.apple.SystemConfiguration", "com.example.proxies", {{"Proxies", proxies}});
}
Value Global(std::vector<std::pair<std::string, Value>> keys) {
    return Payload("com.apple.proxy.http.global", "com.example.global", std::move(keys));
}
Value WiFi() { return Payload("com.apple.wifi.managed", "com.example.wifi", {{"SSID_STR", Str("Office")}}); }
Value Restrictions() {
    return Payload("com.apple.applicationaccess", "com.example.restrictions", {{"allowCamera", Number(0)}});
}
std::string XML(const Value& profile) { return Encoded(profile); }
std::string OfficeXML() { return XML(Profile({SystemConfiguration(Office())})); }
// The XML bytes of a profile of payloads, made when asked for.
std::function<std::string()> ProfileOf(const std::vector<Value>& payloads) {
    return [payloads] { return XML(Profile(payloads)); };
}

// A throw-away CA and a signer it vouches for, and a CA that vouches for
// nothing here, made once with the openssl command in a folder of their
// own (not a TempRoot, which would move TARNWICK_ROOT).
class Signing {
public:
    Signing() {
        std::string pattern = (std::filesystem::temp_directory_path() / "tarnwick-signing-XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr) std::abort();
        dir_ = pattern;
        const std::string key = " -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 2";
        Run("openssl req -x509" + key + " -keyout ca.key -out ca.pem -subj /CN=Tarnwick-Test-CA");
        Run("openssl req -x509" + key + " -keyout other.key -out other.pem -subj /CN=Other-CA");
        Run("openssl req" + key + " -keyout signer.key -out signer.csr -subj /O=Tarnwick-Tests/CN=Profile-Signer");
        Run("openssl x509 -req -in signer.csr -CA ca.pem -CAkey ca.key -CAcreateserial -days 2 -out signer.pem");
    }
    ~Signing() {
        std::error_code ignored;
        std::filesystem::remove_all(dir_, ignored);
    }
    std::string Path(const std::string& name) const { return (dir_ / name).string(); }
    // bytes in a signed envelope (DER), the content inside it.
    std::string Sign(const std::string& bytes) const {
        std::ofstream(dir_ / "content", std::ios::binary) << bytes;
        Run("openssl cms -sign -binary -nodetach -outform DER -in content -signer signer.pem -inkey signer.key "
            "-out signed");
        return TempRoot::ReadFile(Path("signed"));
    }

private:
    void Run(const std::string& command) const {
        std::string line = "cd " + dir_.string() + " && " + command + " 2>/dev/null";
        EXPECT_EQ(std::system(line.c_str()), 0) << command;
    }
    std::filesystem::path dir_;
};
const Signing& TheSigning() {
    static const Signing signing;
    return signing;
}

using Root = const Value&;

struct ApplyCase {
    const char* label;
    const char* store;
    std::function<std::string()> profile;  // the bytes on standard input
    std::vector<std::string> options;      // after "apply-profile -"; {ca} and {other} name the CAs' files
    int exitStatus;
    std::vector<std::string> err;          // each line of standard error begins "moresc: apply-profile: " and this
    std::function<void(Root)> edit = nullptr;  // nullptr: the store stays as it was, byte for byte
    std::string out = "";
};
void PrintTo(const ApplyCase& row, std::ostream* os) { *os << row.label; }

void PutProxies(Root root, const std::string& service, const Value& proxies) {
    Put(root, {"NetworkServices", service, "Proxies"}, proxies);
}
void PutKey(Root root, const std::string& service, const std::string& key, const Value& value) {
    Put(root, {"NetworkServices", service, "Proxies", key}, value);
}
// An edit that sets keys of services' Proxies entities.
std::function<void(Root)> Keys(const std::vector<std::tuple<std::string, std::string, Value>>& keys) {
    return [=](Root root) {
        for (const auto& [service, key, value] : keys) PutKey(root, service, key, value);
    };
}
void BothOffice(Root root) { PutProxies(root, kEthernet, Office()), PutProxies(root, kAdaptor, Office()); }

const ApplyCase kApplyCases[] = {
    // Every documented shape.
    {"XML", kIMac, OfficeXML, {}, 0, {}, BothOffice},
    {"Binary", kIMac, [] { return Encoded(Profile({SystemConfiguration(Office())}), PropertyListFormat::Binary); },
     {}, 0, {}, BothOffice},
    {"SignedNotVerified", kIMac, [] { return TheSigning().Sign(OfficeXML()); }, {}, 0,
     {"signed by CN=Profile-Signer,O=Tarnwick-Tests, not verified"}, BothOffice},
    {"SignedAndVerified", kIMac, [] { return TheSigning().Sign(OfficeXML()); }, {"--verify", "{ca}"}, 0,
     {"signed by CN=Profile-Signer,O=Tarnwick-Tests, verified against "}, BothOffice},
    {"GlobalManual", kIMac, ProfileOf({Global({{"ProxyType", Str("Manual")}, {"ProxyServer", Str("proxy.example.com")},
                                      {"ProxyServerPort", Number(3128)}, {"ProxyUsername", Str("fleet")}})}),
     {}, 0, {"payload \"com.example.global\" (com.apple.proxy.http.global): the store has no place for ProxyUsername"},
     [](Root root) {
         for (const std::string& service : {kEthernet, kAdaptor}) {
             for (const char* kind : {"HTTP", "HTTPS"}) {
                 PutKey(root, service, std::string(kind) + "Enable", Number(1));
                 PutKey(root, service, std::string(kind) + "Proxy", Str("proxy.example.com"));
                 PutKey(root, service, std::string(kind) + "Port", Number(3128));
             }
         }
         PutKey(root, kEthernet, "ProxyAutoConfigEnable", Number(0));  // the URL stays
     }},
    {"GlobalAutoWithURL", kIMac,
     ProfileOf({Global({{"ProxyType", Str("Auto")}, {"ProxyPACURL", Str("http://pac.example/p.pac")}})}),
     {}, 0, {}, Keys({{kEthernet, "ProxyAutoConfigURLString", Str("http://pac.example/p.pac")},
                      {kAdaptor, "ProxyAutoConfigURLString", Str("http://pac.example/p.pac")},
                      {kAdaptor, "ProxyAutoConfigEnable", Number(1)}})},
    {"GlobalAutoDiscovery", kIMac, ProfileOf({Global({{"ProxyType", Str("Auto")}})}), {}, 0, {},
     Keys({{kEthernet, "ProxyAutoConfigEnable", Number(0)}, {kEthernet, "ProxyAutoDiscoveryEnable", Number(1)},
           {kAdaptor, "ProxyAutoDiscoveryEnable", Number(1)}})},
    {"ExtraPayloadsPassedOver", kIMac, ProfileOf({WiFi(), SystemConfiguration(Office()), Restrictions()}), {}, 0,
     {"passed over payload \"com.example.wifi\" (com.apple.wifi.managed): not a proxy payload",
      "passed over payload \"com.example.restrictions\" (com.apple.applicationaccess): not a proxy payload"},
     BothOffice},
    {"PayloadsThatAgree", kIMac, ProfileOf({SystemConfiguration(Office()), SystemConfiguration(Office())}), {}, 0, {},
     BothOffice},
    {"NamedServiceOnly", kIMac, OfficeXML, {"--service", "Ethernet Adaptor (en1)"}, 0, {},
     [](Root root) { PutProxies(root, kAdaptor, Office()); }},
    {"InactiveServicePassedOver", kSets, OfficeXML, {}, 0, {}, [](Root root) { PutProxies(root, "10", Office()); }},
    {"DryRun", kIMac, OfficeXML, {"--dry-run"}, 0, {}, nullptr,
     kEthernet + "\tEthernet\tHTTPEnable\t-\t1\n" + kEthernet + "\tEthernet\tHTTPPort\t-\t3128\n" + kEthernet +
         "\tEthernet\tHTTPProxy\t-\tproxy.example.com\n" + kEthernet + "\tEthernet\tProxyAutoConfigEnable\t1\t-\n" +
         kEthernet + "\tEthernet\tProxyAutoConfigURLString\t" + kPACURL + "\t-\n" + kAdaptor +
         "\tEthernet Adaptor (en1)\tHTTPEnable\t-\t1\n" + kAdaptor + "\tEthernet Adaptor (en1)\tHTTPPort\t-\t3128\n" +
         kAdaptor + "\tEthernet Adaptor (en1)\tHTTPProxy\t-\tproxy.example.com\n"},
    {"JsonReport", kIMac, ProfileOf({WiFi(), Global({{"ProxyType", Str("Auto")}})}),
     {"--service", "Ethernet Adaptor (en1)", "--json"}, 0,
     {"passed over payload \"com.example.wifi\""}, Keys({{kAdaptor, "ProxyAutoDiscoveryEnable", Number(1)}}),
     "{\n  \"changed\": true,\n  \"dryRun\": false,\n  \"services\": [\n    {\n      \"changes\": [\n        {\n"
     "          \"from\": null,\n          \"key\": \"ProxyAutoDiscoveryEnable\",\n          \"to\": 1\n        }\n"
     "      ],\n      \"id\": \"" + kAdaptor + "\",\n      \"name\": \"Ethernet Adaptor (en1)\"\n    }\n  ],\n"
     "  \"signers\": [],\n  \"skipped\": [\n    {\n      \"identifier\": \"com.example.wifi\",\n"
     "      \"type\": \"com.apple.wifi.managed\"\n    }\n  ]\n}\n"},

    // Signatures that do not check out, and envelopes that are not whole.
    {"SignedByAnotherCA", kIMac, [] { return TheSigning().Sign(OfficeXML()); }, {"--verify", "{other}"}, 1,
     {"the signature of standard input does not check out: certificate verify error"}},
    {"SignedThenChanged", kIMac,
     [] {
         std::string signedBytes = TheSigning().Sign(OfficeXML());
         signedBytes[signedBytes.find("proxy.example.com")] = 'q';
         return signedBytes;
     },
     {}, 1, {"the signature of standard input does not check out"}},
    {"SignedTruncated", kIMac, [] { std::string s = TheSigning().Sign(OfficeXML()); return s.substr(0, s.size() / 2); },
     {}, 2, {"standard input is not a whole signed profile"}},
    {"VerifyUnsigned", kIMac, OfficeXML, {"--verify", "{ca}"}, 1,
     {"standard input is not signed, so --verify has no signature to check"}},
    // The CA file is read no further than a store may be long, as the profile is.
    {"CAFileWithoutEnd", kIMac, OfficeXML, {"--verify", "/dev/zero"}, 2, {"/dev/zero is larger than the limit of "}},

    // Profiles that are not what they should be.
    {"NoProxyPayload", kIMac, ProfileOf({WiFi()}), {}, 2,
     {"standard input has no proxy payload (com.apple.SystemConfiguration with Proxies, or "
      "com.apple.proxy.http.global); it holds com.apple.wifi.managed"}},
    {"PayloadsThatDisagree", kIMac,
     ProfileOf({SystemConfiguration(Office()), Global({{"ProxyType", Str("Auto")}})}), {}, 2,
     {"payload \"com.example.proxies\" (com.apple.SystemConfiguration) and payload \"com.example.global\" "
      "(com.apple.proxy.http.global) disagree: they give service \"Ethernet\""}},
    {"PayloadContentNotAnArray", kIMac,
     [] { Value p = Profile({}); Put(p, {"PayloadContent"}, SystemConfiguration(Office())); return XML(p); }, {}, 2,
     {"standard input's PayloadContent is a dictionary, not an array of payloads"}},
    {"PayloadNotADictionary", kIMac, ProfileOf({Str("com.apple.SystemConfiguration")}), {}, 2,
     {"payload 1 of standard input is a string, not a dictionary"}},
    {"ProxiesNotADictionary", kIMac, ProfileOf({SystemConfiguration(Array({Office()}))}), {}, 2,
     {"payload \"com.example.proxies\" (com.apple.SystemConfiguration) has Proxies that are an array"}},
    {"GlobalManualWithoutServer", kIMac, ProfileOf({Global({{"ProxyType", Str("Manual")}})}), {}, 2,
     {"payload \"com.example.global\" (com.apple.proxy.http.global) is not a global HTTP proxy: it is Manual but has "
      "no ProxyServer"}},
    {"GlobalPortOutOfRange", kIMac, ProfileOf({Global({{"ProxyType", Str("Manual")}, {"ProxyServer", Str("p")},
                                      {"ProxyServerPort", Number(70000)}})}),
     {}, 2, {"payload \"com.example.global\" (com.apple.proxy.http.global) is not a global HTTP proxy: its "
             "ProxyServerPort is not a port"}},
    {"AStoreIsNoProfile", kIMac, [] { return StoreText(kMacBook); }, {}, 2,
     {"standard input is not a configuration profile: it has no PayloadType \"Configuration\""}},
    {"DeepPropertyList", kIMac,
     [] {
         std::string open, close;
         for (int i = 0; i < 600; ++i) open += "<array>", close += "</array>";
         return "<plist version=\"1.0\"><dict><key>PayloadContent</key>" + open + close + "</dict></plist>";
     },
     {}, 2, {"standard input is not a configuration profile: containers nested deeper than 512 levels"}},
    {"EncryptedPayloads", kIMac,
     [] { Value p = Profile({}); Put(p, {"PayloadContent"}, nullptr);
          Put(p, {"EncryptedPayloadContent"}, Str("c2VjcmV0")); return XML(p); },
     {}, 2, {"standard input holds its payloads encrypted for one device"}},
};

class ProfileApplyTest : public testing::TestWithParam<ApplyCase> {};

TEST_P(ProfileApplyTest, OutputNotesAndStore) {
    const ApplyCase& row = GetParam();
    TempRoot root;
    const std::string before = StoreText(row.store);
    root.writeStore(before);
    const std::string stamp = Stamp(root.storePath(), true);
    std::vector<std::string> args = {"apply-profile", "-"};
    for (std::string option : row.options) {
        if (option == "{ca}" || option == "{other}") option = TheSigning().Path(option == "{ca}" ? "ca.pem" : "other.pem");
        args.push_back(option);
    }
    ProgramRun run = RunMoresc(root, args, row.profile());
    EXPECT_EQ(run.exitStatus, row.exitStatus) << run.err;
    EXPECT_EQ(run.out, row.out);
    std::istringstream lines(run.err);
    std::size_t count = 0;
    for (std::string line; std::getline(lines, line); ++count) {
        ASSERT_LT(count, row.err.size()) << run.err;
        EXPECT_TRUE(line.starts_with("moresc: apply-profile: " + row.err[count])) << line;
    }
    EXPECT_EQ(count, row.err.size()) << run.err;
    if (!row.edit) {
        EXPECT_EQ(Stamp(root.storePath()), stamp);
    } else {
        PropertyListFormat format = PropertyListFormat::XML;
        Value tree = Parsed(before, &format);
        row.edit(tree);
        EXPECT_EQ(TempRoot::ReadFile(root.storePath()), Encoded(tree, format));
    }
}

INSTANTIATE_TEST_SUITE_P(Profiles, ProfileApplyTest, testing::ValuesIn(kApplyCases),
                         [](const testing::TestParamInfo<ApplyCase>& info) { return std::string(info.param.label); });

struct ExportCase {
    const char* label;
    std::function<std::string()> store;
    std::vector<std::string> args;  // after "export-profile"
    int exitStatus;
    std::string err;                // standard error, after "moresc: export-profile: "; "" for none
    std::string payloadType = "";
    Value payload = nullptr;        // the payload's keys besides its identity
};
void PrintTo(const ExportCase& row, std::ostream* os) { *os << row.label; }

std::function<std::string()> Real(const char* name) { return [name] { return StoreText(name); }; }
// A store of the services A and B with the given proxies, and C, inactive,
// with none.
std::function<std::string()> Made(std::function<Value()> proxies) {
    return [proxies] { return Encoded(MakeStore({{"A", proxies()}, {"B", proxies()}, {"C", nullptr, true}})); };
}
// The office's proxies with keys set (a nil value removes one).
std::function<Value()> OfficeWith(const std::vector<std::pair<std::string, Value>>& keys) {
    return [keys] {
        Value proxies = Office();
        for (const auto& [key, value] : keys) Put(proxies, {key}, value);
        return proxies;
    };
}

const std::string kMacBookServices =
    "[1] \"Bluetooth DUN\" (4A73E068-DCE3-46C3-98EE-991526FF151A) [2] \"Wi-Fi\" "
    "(622D9F75-98F0-4AF1-8FFC-C5A27462B0B6) [3] \"Bluetooth PAN\" (3896F922-5883-4D53-AC38-CEDEC0DAAAF3)";

const ExportCase kExportCases[] = {
    {"OneService", Real(kMacBook), {"--service", "Wi-Fi"}, 0, "", "com.apple.SystemConfiguration",
     Dict({{"Proxies", Dict({{"ExceptionsList", Array({Str("*.local"), Str("169.254/16")})},
                             {"FTPPassive", Number(1)}, {"HTTPEnable", Number(1)}, {"HTTPPort", Number(8080)},
                             {"HTTPProxy", Str("127.0.0.1")}})}})},
    {"ActiveServicesAlike", Made(Office), {}, 0, "", "com.apple.SystemConfiguration", Dict({{"Proxies", Office()}})},
    {"ActiveServicesDiffer", Real(kMacBook), {}, 1,
     "the active services of the current set have different proxy settings; choose one with --service: " +
         kMacBookServices + "\n"},
    {"ServiceWithoutProxies", Real(kBinary), {"--service", "com.apple.CommCenter (ip1)"}, 1,
     "service 8F1050F6-7B9F-4222-B3B5-5DF3D587D2C6 has no proxy settings to export\n"},
    {"GlobalFromPAC", Real(kIMac), {"--service", "Ethernet", "--global"}, 0,
     "a global HTTP proxy has no ExceptionsList; it is left out\n", "com.apple.proxy.http.global",
     Dict({{"ProxyType", Str("Auto")}, {"ProxyPACURL", Str(kPACURL)}})},
    {"GlobalFromWebProxies", Made(OfficeWith({{"ExceptionsList", nullptr}, {"HTTPSEnable", Number(1)},
                                              {"HTTPSProxy", Str("proxy.example.com")}, {"HTTPSPort", Number(3128)}})),
     {"--global"}, 0, "", "com.apple.proxy.http.global",
     Dict({{"ProxyType", Str("Manual")}, {"ProxyServer", Str("proxy.example.com")}, {"ProxyServerPort", Number(3128)}})},
    {"GlobalFromAutoDiscovery", Made([] { return Dict({{"ProxyAutoDiscoveryEnable", Number(1)}}); }), {"--global"}, 0,
     "", "com.apple.proxy.http.global", Dict({{"ProxyType", Str("Auto")}})},
    {"GlobalRefusesPACWithWebProxy", Made(OfficeWith({{"ProxyAutoConfigEnable", Number(1)},
                                                        {"ProxyAutoConfigURLString", Str("http://p/p.pac")}})),
     {"--global"}, 1, "the proxy settings cannot be said as a global HTTP proxy: PAC and the web proxy are both on"},
    {"GlobalRefusesFTPProxy", Made(OfficeWith({{"FTPEnable", Number(1)}})),
     {"--global"}, 1, "the proxy settings cannot be said as a global HTTP proxy: the ftp proxy is on"},
    {"GlobalRefusesOtherSecureProxy",
     Made(OfficeWith({{"HTTPSEnable", Number(1)}, {"HTTPSProxy", Str("proxy.example.com")}})), {"--global"}, 1,
     "the proxy settings cannot be said as a global HTTP proxy: the secure web proxy (proxy.example.com) is not the "
     "web proxy (proxy.example.com:3128)"},
    {"GlobalRefusesNoProxy", Real(kIMac), {"--service", kAdaptor, "--global"}, 1,
     "the proxy settings cannot be said as a global HTTP proxy: no proxy is on"},
    {"IdentifierNotReverseDNS", Real(kIMac), {"--service", "Ethernet", "--identifier", "com example"}, 2,
     "\"com example\" is not a reverse-DNS identifier"},
};

// A version 4 UUID as macOS writes them:
// XXXXXXXX-XXXX-4XXX-[89AB]XXX-XXXXXXXXXXXX, upper-case hexadecimal digits.
bool IsRandomUUID(const std::string& text) {
    bool good = text.size() == 36 && text[14] == '4' && std::string("89AB").find(text[19]) != std::string::npos;
    for (std::size_t i = 0; good && i < text.size(); ++i) {
        bool dash = i == 8 || i == 13 || i == 18 || i == 23;
        good = dash ? text[i] == '-' : std::string("0123456789ABCDEF").find(text[i]) != std::string::npos;
    }
    return good;
}

class ProfileExportTest : public testing::TestWithParam<ExportCase> {};

// The profile holds one payload of the expected type and keys, the
// identity of a profile (fresh version 4 UUIDs, identifiers that hold
// them), and is written as macOS writes XML.
TEST_P(ProfileExportTest, PayloadOrRefusal) {
    const ExportCase& row = GetParam();
    TempRoot root;
    const std::string before = row.store();
    root.writeStore(before);
    std::vector<std::string> args = {"export-profile"};
    args.insert(args.end(), row.args.begin(), row.args.end());
    ProgramRun run = RunMoresc(root, args);
    EXPECT_EQ(run.exitStatus, row.exitStatus);
    EXPECT_TRUE(row.err.empty() ? run.err.empty() : run.err.starts_with("moresc: export-profile: " + row.err))
        << run.err;
    EXPECT_EQ(TempRoot::ReadFile(root.storePath()), before);
    EXPECT_EQ(run.out.empty(), row.exitStatus != 0) << run.out;  // a refusal writes no profile
    if (row.exitStatus != 0) return;
    Value profile = Parsed(run.out);
    ASSERT_TRUE(profile) << run.out;
    EXPECT_EQ(Encoded(profile), run.out);  // XML, as macOS writes it
    Value payload = Own(CFRetain(CFArrayGetValueAtIndex(ArrayAt(profile, {"PayloadContent"}), 0)));
    ASSERT_EQ(CFArrayGetCount(ArrayAt(profile, {"PayloadContent"})), 1);
    std::string profileUUID = Text(ValueAt(profile, {"PayloadUUID"}));
    std::string payloadUUID = Text(ValueAt(payload, {"PayloadUUID"}));
    EXPECT_TRUE(IsRandomUUID(profileUUID)) << profileUUID;
    EXPECT_TRUE(IsRandomUUID(payloadUUID)) << payloadUUID;
    EXPECT_NE(profileUUID, payloadUUID);
    std::string identifier = "org.tarnwick.proxies." + profileUUID;
    EXPECT_EQ(Text(ValueAt(payload, {"PayloadIdentifier"})), identifier + "." + payloadUUID);
    Value expected = Dict({{"PayloadContent", Array({payload})}, {"PayloadDisplayName", Str("Proxy settings")},
                           {"PayloadIdentifier", Str(identifier)}, {"PayloadType", Str("Configuration")},
                           {"PayloadUUID", Str(profileUUID)}, {"PayloadVersion", Number(1)}});
    EXPECT_TRUE(CFEqual(profile.get(), expected.get())) << run.out;
    EXPECT_EQ(Text(ValueAt(payload, {"PayloadType"})), row.payloadType);
    for (const char* key : {"PayloadDisplayName", "PayloadIdentifier", "PayloadUUID", "PayloadVersion", "PayloadType"})
        Put(payload, {key}, nullptr);
    EXPECT_EQ(Encoded(payload), Encoded(row.payload));
}

INSTANTIATE_TEST_SUITE_P(Profiles, ProfileExportTest, testing::ValuesIn(kExportCases),
                         [](const testing::TestParamInfo<ExportCase>& info) { return std::string(info.param.label); });

// The active services of the current set of a store, and their "Proxies"
// entities (nil for none).
std::vector<std::pair<std::string, Value>> ActiveProxies(const std::string& storeText) {
    Value store = Parsed(storeText);
    std::string set = Text(ValueAt(store, {"CurrentSet"})).substr(6);
    CFArrayRef order = ArrayAt(store, {"Sets", set, "Network", "Global", "IPv4", "ServiceOrder"});
    std::vector<std::pair<std::string, Value>> active;
    for (CFIndex i = 0; i < CFArrayGetCount(order); ++i) {
        std::string id = Text(CFArrayGetValueAtIndex(order, i));
        if (ValueAt(store, {"NetworkServices", id, "__INACTIVE__"}) != nullptr) continue;
        active.emplace_back(id, CopyAt(store, {"NetworkServices", id, "Proxies"}));
    }
    return active;
}

// Exported from a service of each real store (to a file) and applied to
// each real store: every active service of the second then has exactly
// the first's "Proxies" entity, the store keeps its format, and applying
// the profile again leaves the store and the applied configuration
// untouched.
TEST(ProfileRoundTripTest, RealStoreToRealStore) {
    const std::tuple<const char*, const char*, std::string> sources[] = {
        {kIMac, "Ethernet", kEthernet},
        {kMacBook, "Wi-Fi", "622D9F75-98F0-4AF1-8FFC-C5A27462B0B6"},
        {kBinary, "Wi-Fi", "DB914B7E-ED15-483C-9FD8-82A614874711"}};
    for (const auto& [source, service, serviceID] : sources) {
        TempRoot from;
        from.writeStore(StoreText(source));
        const std::string file = (from.path() / "proxies.mobileconfig").string();
        ProgramRun exported = RunMoresc(from, {"export-profile", "--service", service, "-o", file});
        ASSERT_EQ(exported.exitStatus, 0) << exported.err;
        EXPECT_EQ(exported.out, "");
        Value proxies = CopyAt(Parsed(StoreText(source)), {"NetworkServices", serviceID, "Proxies"});
        for (const char* target : {kIMac, kMacBook, kBinary}) {
            SCOPED_TRACE(std::string(source) + " to " + target);
            TempRoot to;
            to.writeStore(StoreText(target));
            ProgramRun run = RunMoresc(to, {"apply-profile", file});
            EXPECT_EQ(run.exitStatus, 0) << run.err;
            std::string after = TempRoot::ReadFile(to.storePath());
            EXPECT_EQ(after.substr(0, 8), StoreText(target).substr(0, 8));  // "bplist00" or "<?xml ve"
            for (const auto& [id, entity] : ActiveProxies(after)) {
                EXPECT_TRUE(entity && CFEqual(entity.get(), proxies.get())) << id;
            }
            // Nothing to save is nothing to apply either.
            const std::filesystem::path applied = to.path() / "var/run/SystemConfiguration/preferences.plist";
            const std::string stamps = Stamp(to.storePath(), true) + Stamp(applied, true);
            EXPECT_EQ(RunMoresc(to, {"apply-profile", file}).exitStatus, 0);
            EXPECT_EQ(Stamp(to.storePath()) + Stamp(applied), stamps);
        }
    }
}

}  // namespace
