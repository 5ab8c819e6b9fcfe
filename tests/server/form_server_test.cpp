#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <thread>

#include "tests/support/program_file.h"
#include "tests/support/raw_socket.h"
#include "tests/support/server_host.h"
#include "tests/support/words.h"
#include "zforms/platform/data/field_set.h"
#include "zforms/platform/host/template_storage.h"
#include "zforms/platform/http/http_response.h"
#include "zforms/server/acro_form_server.h"
#include "zforms/server/form_cache.h"
#include "zforms/server/messages.h"

namespace zforms {
namespace {

namespace fs = std::filesystem;

ZAcroFormServerForm Served(const std::string& pdf) {
  ZAcroFormServerForm form;
  ZInetChaineIStream in{Chaine(pdf)};
  EXPECT_TRUE(form.Load(in, ""));
  return form;
}

// The fields and buttons as a reader sees them, sorted by name. Each is "name:flags", with "radio", "to" and the URL of
// a submit button, and "hidden" where they apply.
std::string Summary(ZAcroFormServerForm& form) {
  std::string text;
  for (const auto& [name, fields] : form.FlatFields()) {
    for (ZAcroFormField* field : fields) {
      text += name.ToString() + ":" + std::to_string(field->InheritedFlags());
      if (field->InheritedType() == ZAcroFormField::eRadioButton) text += " radio";
      if (field->IsSubmitFormButton()) text += " to " + field->GetAction()->URL().AsChaine(false, true).ToString();
      if (field->GetAnnotation()->IsHidden()) text += " hidden";
      text += "\n";
    }
  }
  return text;
}

// One form may take at most a quarter of the cache; a form that would make it overflow empties it first.
TEST(FormServer, CacheOfForms) {
  constexpr size_t kSixteenth = size_t{4} << 20;
  FormCache cache;
  std::string kept;
  const auto keep = [&](const char* key, size_t sixteenths, size_t more = 0, uint64_t size = 1) {
    cache.Keep(key, {size, 0}, std::string(sixteenths * kSixteenth + more, *key));
    kept.clear();
    Chaine bytes;
    for (const char* each : {"a", "b", "c", "d", "e"}) {
      if (cache.Find(each, {1, 0}, &bytes)) kept += bytes[0];
    }
    return kept;
  };
  EXPECT_EQ(keep("a", 4, 1), "");
  EXPECT_EQ(keep("a", 4), "a");
  keep("b", 4);
  keep("c", 4);
  EXPECT_EQ(keep("d", 4), "abcd");
  EXPECT_EQ(keep("b", 4), "abcd") << "what is replaced makes room first";
  EXPECT_EQ(keep("a", 4, 0, 2), "bcd") << "another state of the file";
  EXPECT_EQ(keep("e", 0, 1), "e") << "one byte too many";
  keep("a", 3);
  keep("b", 4);
  keep("c", 4);
  EXPECT_EQ(keep("d", 4), "abcde") << "counted from zero again";
}

TEST(FormServer, Addresses) {
  const ServerHost host;
  ASSERT_TRUE(host.server->Start());
  const ZAcroFormServer& server = *host.server;
  const std::string base = "http://localhost:" + host.Port() + "/App/";
  EXPECT_EQ(server.GetPDFURL("F1", ZDocument::eModify).AsChaine(), base + "acroform/get.cgi?code=F1&Action=modify");
  EXPECT_EQ(server.GetPDFURL("F1", ZDocument::eConsult).AsChaine(), base + "acroform/get.cgi?code=F1&Action=consult");
  EXPECT_EQ(server.GetPDFURL("a b&c", ZDocument::ePrint).AsChaine(),
            base + "acroform/get.cgi?code=a%20b%26c&Action=readonly");
  EXPECT_EQ(server.GetXFDFURL(ZDocument::eModify, "").AsChaine(), base + "xfdf/save.cgi");
  EXPECT_EQ(server.GetXFDFURL(ZDocument::ePrint, "F1").AsChaine(), base + "xfdf/modify.cgi?code=F1");
  EXPECT_EQ(ZAcroFormServer::CodeNameFromPDFURL(ZInetURL("http://h/get.cgi?CODE=a%20b")), "a b");
  EXPECT_EQ(ZAcroFormServer::CodeNameFromPDFURL(ZInetURL("http://h/get.cgi")), "");
  ZInetURL local("file:///C:/a.pdf");
  server.UpdateURLPDF(local, ZDocument::eModify);
  EXPECT_EQ(local.AsChaine(), "file:///C:/a.pdf");

  const struct {
    const char* url;
    ZDocument::Status status;
  } statuses[] = {{"get.cgi?action=modify", ZDocument::eModify},
                  {"get.cgi?Action=consult", ZDocument::eConsult},
                  {"get.cgi?Action=readonly", ZDocument::eReadOnly},
                  {"get.cgi?Action=Modify", ZDocument::eReadOnly},
                  {"get.cgi", ZDocument::eReadOnly}};
  for (const auto& [url, status] : statuses) {
    EXPECT_EQ(ZAcroFormServerPDFHandler::StatusFromURL(ZInetURL(url)), status) << url;
  }
  EXPECT_EQ(ZAcroFormServerXFDFHandler::GetDisplayMode(ZInetURL("http://h/a/save.cgi?x=modify.cgi")),
            ZDocument::eModify);
  EXPECT_EQ(ZAcroFormServerXFDFHandler::GetDisplayMode(ZInetURL("/modify.cgi")), ZDocument::eConsult);
  EXPECT_EQ(ZAcroFormServerXFDFHandler::GetDisplayMode(ZInetURL("/save.cgi/")), ZDocument::eReadOnly);

  const struct {
    const char* url;
    const char* code;
  } files[] = {{"file:///C:/Temp/123%B0_F%25201", "F 1"},
               {"file:///tmp/123%C2%B0_F%25201", "F 1"},
               {"file:///tmp/1\xC2\xB0_a\xC2\xB0_b", "a\xC2\xB0_b"},
               {"file:///tmp/F1", ""},
               {"http://localhost/1%B0_F1", ""}};
  for (const auto& [url, code] : files) {
    EXPECT_EQ(ZAcroFormServerXFDFHandler::CodeNameFromFileURL(ZInetURL(url)), code) << url;
  }
}

TEST(TemplateStorage, CodesAreLookedUpAndNeverJoined) {
  const ZTempFolder outside;
  const ZTempFolder folder;
  const Chaine secret = outside.Write("secret.pdf", "x");
  folder.Write("F1.pdf", "x");
  folder.Write("\xC3\x89t\xC3\xA9 1.PDF", "x");
  folder.Write("notes.txt", "x");
  fs::create_directory(folder.Path().ToString() + "/sub.pdf");
  std::error_code no_links;
  fs::create_symlink(secret.ToString(), folder.Path().ToString() + "/leak.pdf", no_links);
  fs::create_symlink(folder.Path().ToString() + "/F1.pdf", folder.Path().ToString() + "/alias.pdf", no_links);
  const ZTemplateStorage storage(folder.Path());
  const auto path_of = [&](const char* code) { return fs::path(storage.PathOf(code).ToString()).generic_string(); };
  const std::string f1 = fs::path((folder.Path() + "/F1.pdf").ToString()).generic_string();
  EXPECT_EQ(path_of("F1"), f1);
  EXPECT_EQ(path_of("alias"), no_links ? "" : f1);
  PTableau<Chaine> codes{"F1", "alias", "\xC3\x89t\xC3\xA9 1"};
  if (no_links) codes.erase(codes.begin() + 1);
  EXPECT_EQ(storage.Codes(), codes);
  const std::string up = "../" + fs::path(outside.Path().ToString()).filename().string() + "/secret";
  for (const std::string& code : {std::string(), std::string("."), std::string(".."), up, std::string("./F1"),
                                  folder.Path().ToString() + "/F1", std::string("F1.pdf"), std::string("F1\0", 3),
                                  std::string("f1"), std::string("leak"), std::string("sub"), std::string("notes")}) {
    EXPECT_EQ(storage.PathOf(code), "") << code;
  }
  folder.Write("F2.pdf", "x");
  EXPECT_FALSE(storage.PathOf("F2").IsEmpty());
  fs::remove(folder.Path().ToString() + "/F1.pdf");
  EXPECT_TRUE(storage.PathOf("F1").IsEmpty());
  EXPECT_TRUE(ZTemplateStorage("/nowhere").Codes().empty());
}

TEST(FormServer, ReaderVersionRule) {
  const std::string classes[] = {"{CA8A9780-280D-11CF-A24D-444553540000}", "{06849E9F-C8D7-4D59-B87D-784B7D6BE0B3}",
                                 "{18DF081C-E8AD-4283-A596-FA578C2EBDC3}"};
  ServerHost host;
  host.settings.ignore_version = "";
  const auto verify = [&] { return ZAcroFormServer::VerifyAdobeReaderVersion(true, host.services); };
  EXPECT_FALSE(verify());
  for (const std::string& id : classes) {
    host.shell.reader_class = id;
    host.shell.reader = host.temp.Write("old.dll", MakeProgram(false, uint64_t{7} << 48 | 0xFFFFFFFFFFFF));
    EXPECT_FALSE(verify());
    host.shell.reader = host.temp.Write("new.dll", MakeProgram(false, uint64_t{8} << 48));
    EXPECT_TRUE(verify());
  }
  host.shell.reader = "";
  EXPECT_FALSE(host.server->Start());
  ASSERT_EQ(host.interface.shown.size(), 5U);
  EXPECT_EQ(host.interface.shown[4].first,
            "Adobe Reader 8 ou supérieur doit être installé sur la machine. Vous pouvez le télécharger par Internet ou "
            "le trouver sur le CD ZOR.");
  EXPECT_EQ(host.interface.shown[4].second, ZUserInterface::Icon::eInformation);
  EXPECT_FALSE(ZAcroFormServer::VerifyAdobeReaderVersion(false, host.services));
  EXPECT_EQ(host.interface.shown.size(), 5U);
  host.settings.ignore_version = "1";
  EXPECT_TRUE(verify());
  host.interface.consents = false;
  EXPECT_FALSE(host.server->Start());
  host.interface.consents = true;
  ASSERT_TRUE(host.server->Start());
  // On a system without a registry, the version of the reader is not checked.
  const std::unique_ptr<ZShell> system = OpenSystemShell();
  host.settings.ignore_version = "";
  host.services.shell = system.get();
  const bool has_registry = system->VersionOfClass("{00000000-0000-0000-0000-0000000000AB}") == 0;
  EXPECT_TRUE(verify() || has_registry);
  host.settings.ignore_version = "1";

  ZAcroFormServer second(host.server->Port(), host.storage.Path(), 1, 1, host.services);
  EXPECT_FALSE(second.Start());
  EXPECT_EQ(host.interface.shown.back().first, ServerMessage(eServerMessage::eStartFailed, kAddressInUse).ToString());
  EXPECT_NE(host.interface.shown.back().first.find("documents PDF (WinErr: " + std::to_string(kAddressInUse) + ") !"),
            std::string::npos);
  EXPECT_EQ(host.interface.shown.back().second, ZUserInterface::Icon::eError);
}

// --- forms ---

TEST(FormServer, DisplayModeChangesWhatAReaderSeesOfTheReadOnlyBitAlone) {
  const std::string buttons =
      "group.modify:65536 to /App/xfdf/modify.cgi?code=F1 MODIFY\ngroup.save:65536\n"
      "group.save:65536 to /App/xfdf/save.cgi?code=F1 SAVE\ngroup.save:65536 to /App/xfdf/save.cgi?code=F1 SAVE\n";
  const struct {
    const char* action;
    const char* save;
    const char* modify;
    bool read_only;
  } cases[] = {{"&Action=modify", "", " hidden", false},
               {"&Action=consult", " hidden", "", true},
               {"", " hidden", " hidden", true},
               {"&Action=print", " hidden", " hidden", true}};
  const ServerHost host;
  ASSERT_TRUE(host.server->Start());
  for (const auto& [action, save, modify, read_only] : cases) {
    const std::string url = std::string("/App/acroform/get.cgi?code=F1") + action;
    const RawAnswer answer = host.Get(url);
    ASSERT_EQ(answer.status, 200) << url;
    EXPECT_NE(answer.head.find("Content-Type: application/pdf\r\n"), std::string::npos);
    ZAcroFormServerForm form = Served(answer.body);
    const int bit = read_only ? 1 : 0;
    std::string expected = "ZOR.SessionID:" + std::to_string(bit) + " hidden\n";
    expected += "group:" + std::to_string(65536 + bit) + "\n" +
                Replaced(Replaced(buttons, " SAVE", save), " MODIFY", modify) + "name:" + std::to_string(2 + bit) +
                "\n";
    for (int i = 0; i < 3; i++) expected += "way:" + std::to_string(49152 + bit) + " radio\n";
    EXPECT_EQ(Summary(form), expected) << url;
    EXPECT_EQ(form.StandardUserFlags(), read_only ? 0xFFFFFFFC : 0xFFFFF1C0U);
    EXPECT_EQ(form.HasViewerPreferences() && form.ViewerPreferences()->HideMenubar() &&
                  form.ViewerPreferences()->HideToolbar(),
              !read_only);
    // The cached answer equals the first one.
    EXPECT_EQ(host.Get(url).body, answer.body);
    EXPECT_EQ(host.Get(Replaced(url, "code", "CODE")).body, answer.body);
  }
}

TEST(FormServer, FormsWithoutButtons) {
  ZAcroFormServerForm form = Served(FormText().Field(10, "<</FT/Tx/T(a)>>").Bytes().ToString());
  EXPECT_FALSE(form.HasSubmitFormButton(ZDocument::eModify));
  form.SetSubmitURL(ZDocument::eModify, ZInetURL("http://localhost/save.cgi"));
  EXPECT_TRUE(form.Parser()->ModifiedObjects().empty());
  ZAcroFormServerForm full = Served(ServedForm().Bytes().ToString());
  ASSERT_EQ(full.FindSubmitFormButtons(ZDocument::eModify).Size(), 1U);
  EXPECT_EQ(full.FindSubmitFormButtons(ZDocument::eModify).At(0).second.size(), 2U);
  EXPECT_FALSE(full.HasSubmitFormButton(ZDocument::eReadOnly));
}

TEST(FormServer, RequestsForForms) {
  const ServerHost host;
  host.Put("broken", "no PDF");
  host.Put("a b", ServedForm().Bytes());
  ASSERT_TRUE(host.server->Start());
  const struct {
    const char* target;
    int status;
  } cases[] = {{"/App/acroform/get.cgi?code=F1", 200},
               {"/App/acroform/get.cgi?code=a%20b", 200},
               {"/App/acroform/get.cgi", 400},
               {"/App/acroform/get.cgi?code=", 404},
               {"/App/acroform/get.cgi?code=F2", 404},
               {"/App/acroform/get.cgi?code=..%2FF1", 404},
               {"/App/acroform/get.cgi?code=F1%00", 404},
               {"/App/acroform/get.cgi?code=broken", 404},
               {"/App/acroform/other.cgi?code=F1", 404},
               {"/App/acroform/", 404},
               {"/App/xfdf/get.cgi?code=F1", 404},
               {"/App/xfdf/save.cgi?code=F1", 409},
               {"/Other/acroform/get.cgi?code=F1", 404}};
  for (const auto& [target, status] : cases) EXPECT_EQ(host.Get(target).status, status) << target;
  EXPECT_EQ(host.Post("/App/acroform/get.cgi?code=F1", "x").status, 405);

  // A changed template is served in its new state.
  const std::string before = host.Get("/App/acroform/get.cgi?code=F1").body;
  host.Put("F1", FormText().Field(10, "<</FT/Tx/T(other)>>").Bytes());
  EXPECT_NE(host.Get("/App/acroform/get.cgi?code=F1").body.find("(other)"), std::string::npos);
  EXPECT_EQ(before.find("(other)"), std::string::npos);
}

TEST(FormServer, IntrusionsAreShownButForTheBrowsersIcon) {
  ServerHost host;
  ASSERT_TRUE(host.server->Start());
  host.Get("/favicon.ico");
  host.Post("/App/xfdf/save.cgi", "x", "Origin: http://elsewhere\r\n");
  host.Deliver();
  ASSERT_EQ(host.interface.shown.size(), 1U);
  EXPECT_EQ(host.interface.shown[0].second, ZUserInterface::Icon::eWarning);
  EXPECT_NE(host.interface.shown[0].first.find("(403) : POST /App/xfdf/save.cgi\n"), std::string::npos);
  EXPECT_NE(host.interface.shown[0].first.find("http://elsewhere"), std::string::npos);
}

// --- documents made by the host ---

TEST(XFDFBuilder, StampsWhatItMakes) {
  ServerHost host;
  host.Put("mapped",
           ServedForm().Field(40, "<</FT/Tx/T(town)/TM(Place.Town)>>").Field(41, "<</FT/Tx/T(who)/TM(Name)>>").Bytes());
  ASSERT_TRUE(host.server->Start());
  EXPECT_FALSE(host.server->GetXFDFBuilder("F2"));
  EXPECT_FALSE(host.server->GetXFDFBuilder("../F1"));
  ZFieldSet place, person;
  place.Add("Town", "Sète");
  person.Add("Name", "Zoé");
  const auto builder = host.server->GetXFDFBuilder("mapped");
  ASSERT_TRUE(builder);
  builder->AddRubric("place", &place);
  builder->AddRubric("Person", &person);
  ASSERT_TRUE(builder->SetAutoMap("Person", true));
  const ZXFDF xfdf = builder->CreateXFDF();
  EXPECT_EQ(xfdf.PDFHRef().AsChaine(),
            "http://localhost:" + host.Port() + "/App/acroform/get.cgi?code=mapped&Action=modify");
  EXPECT_EQ(xfdf.IDSOriginal(), "01");
  EXPECT_EQ(xfdf.SessionID().Software(), "App");
  EXPECT_EQ(xfdf.SessionID().Folder(), (ZXFDFFolderInfos{12, 3}));
  EXPECT_EQ(xfdf.Fields()["town"].Value().AsChaine(), "Sète");
  EXPECT_EQ(xfdf.Fields()["who"].Value().AsChaine(), "Zoé");
  EXPECT_FALSE(xfdf.Fields().Exist("name"));
}

TEST(FormServer, ShowsPrintsAndMails) {
  ServerHost host;
  host.Put("F 1", ServedForm().Bytes());
  ASSERT_TRUE(host.server->Start());
  ZXFDF xfdf = host.Open("F 1");
  xfdf.Fields()["name"] = ZVariant("Zoé");

  host.server->SetCurrentFolder(99, 4);
  EXPECT_TRUE(host.server->ShowXFDF(xfdf, ZDocument::eConsult, true));
  ASSERT_EQ(host.shell.calls.size(), 1U);
  EXPECT_EQ(host.shell.calls[0], "open " + host.temp.Path().ToString() + "/temp.xfdf");
  ZXFDF shown;
  shown.FromChaine(host.shell.files[0]);
  EXPECT_EQ(shown.PDFHRef().Param("Action"), "consult");
  EXPECT_EQ(shown.SessionID().Folder(), (ZXFDFFolderInfos{99, 4}));

  EXPECT_TRUE(host.server->ShowXFDF(xfdf, false));
  const std::string local = host.shell.calls[1].substr(5);
  EXPECT_TRUE(local.ends_with("\xC2\xB0_F%201.pdf")) << local;
  EXPECT_EQ(ZAcroFormServerXFDFHandler::CodeNameFromFileURL(ZInetURL::FromLocalPath(local)), "F 1");
  EXPECT_EQ(Served(host.shell.files[1].ToString()).Fields()["name"]->ValueUTF8(), "Zoé");

  EXPECT_TRUE(host.server->PrintXFDF(xfdf));
  EXPECT_EQ(host.shell.calls[2], "print " + host.temp.Path().ToString() + "/F%201.pdf");
  const ZAcroFormServerForm printed = Served(host.shell.files[2].ToString());
  EXPECT_TRUE(printed.NeedAppearances());
  EXPECT_EQ(printed.Fields()["name"]->Flags(), 3U);

  ZPDFEmail letter;
  letter.SetWithoutDialog(true);
  EXPECT_TRUE(host.server->EmailXFDF(xfdf, letter));
  ASSERT_EQ(host.mailer.sent.size(), 1U);
  EXPECT_FALSE(host.mailer.sent[0].second);
  EXPECT_EQ(host.mailer.sent[0].first.AttachedFiles()[0].path, host.temp.Path() + "/F%201.pdf");

  const Chaine built = host.temp.PathOf("built.pdf");
  EXPECT_TRUE(host.server->BuildPDFFromXFDF(xfdf, built));
  Chaine bytes;
  ASSERT_TRUE(ReadFile(built, &bytes));
  EXPECT_EQ(bytes, host.shell.files[2]);

  // The form does not exist, and then the reader is too old.
  xfdf.SetPDFHRef(host.server->GetPDFURL("F2", ZDocument::eModify));
  EXPECT_FALSE(host.server->PrintXFDF(xfdf) || host.server->EmailXFDF(xfdf, letter) ||
               host.server->ShowXFDF(xfdf, false) || host.server->BuildPDFFromXFDF(xfdf, built));
  host.shell.calls.clear();
  host.shell.program = host.temp.Write("AcroRd32.exe", MakeProgram(true, uint64_t{7} << 48));
  EXPECT_FALSE(host.server->ShowXFDF(xfdf, true));
  EXPECT_TRUE(host.shell.calls.empty());
  host.shell.program = host.temp.Write("acrord32.EXE", MakeProgram(true, uint64_t{8} << 48));
  EXPECT_TRUE(host.server->ShowXFDF(xfdf, true));
  EXPECT_EQ(host.shell.calls.size(), 2U);
}

// --- submissions ---

TEST(FormServer, RoundOfAForm) {
  for (const bool by_copy : {false, true}) {
    ServerHost host;
    host.accepts_copies = by_copy;
    ASSERT_TRUE(host.server->Start());
    const std::string save = "/App/xfdf/save.cgi?code=F1";
    const std::string href = "http://localhost:" + host.Port() + "/App/acroform/get.cgi?code=F1&Action=";
    ZXFDF first = host.Open();
    first.Fields()["name"] = ZVariant("Zoé");
    first.Fields()["way"] = ZVariant("Sea");

    const RawAnswer saved = host.Post(save, first.AsChaine().ToString());
    ASSERT_EQ(saved.status, 200);
    EXPECT_NE(saved.head.find("Content-Location: " + href + "consult\r\n"), std::string::npos) << saved.head;
    EXPECT_NE(saved.head.find("\r\nLocation: " + href + "consult\r\n"), std::string::npos);
    ZAcroFormServerForm form = Served(saved.body);
    EXPECT_EQ(form.Fields()["name"]->ValueUTF8(), "Zoé");
    EXPECT_EQ(form.Fields()["name"]->DefaultValueUTF8(), "Zoé");
    EXPECT_TRUE(form.NeedAppearances());
    EXPECT_NE(Summary(form).find("name:3\n"), std::string::npos);
    host.Deliver();
    ASSERT_EQ(host.saved.size(), 1U);
    EXPECT_TRUE(host.saved[0].accepted);
    EXPECT_EQ(host.saved[0].url, save);
    EXPECT_EQ(host.saved[0].text, first.AsChaine().ToString());

    // The reader asks to modify the form: no message is posted.
    ZXFDF second = ServerHost::Submitted(saved.body, href + "consult");
    const RawAnswer modify = host.Post("/App/xfdf/modify.cgi?code=F1", second.AsChaine().ToString());
    ASSERT_EQ(modify.status, 200);
    EXPECT_NE(modify.head.find("Action=modify\r\n"), std::string::npos);
    EXPECT_EQ(Served(modify.body).Fields()["name"]->Flags(), 2U);
    second = ServerHost::Submitted(modify.body, href + "modify");
    second.Fields()["name"] = ZVariant("Maë");
    EXPECT_EQ(host.Post(save, second.AsChaine().ToString()).status, 200);

    // The first form is submitted again: it is outdated, and is returned in modify mode.
    const RawAnswer stale = host.Post(save, first.AsChaine().ToString());
    ASSERT_EQ(stale.status, 200);
    EXPECT_NE(stale.head.find("Action=modify\r\n"), std::string::npos);
    host.Deliver();
    ASSERT_EQ(host.saved.size(), 3U);
    EXPECT_TRUE(host.saved[1].accepted);
    EXPECT_EQ(host.saved[1].count, 1U);
    EXPECT_NE(host.saved[1].text.find("Maë"), std::string::npos);
    EXPECT_FALSE(host.saved[2].accepted);
  }
}

TEST(FormServer, DrawsBeforeItServesWhereTheHostWantsIt) {
  for (const bool draws : {false, true}) {
    ServerHost host;
    host.Put("drawn", FormText().Field(10, "<</FT/Tx/T(name)/Subtype/Widget/Rect[0 0 99 20]/DA(/Helv 9 Tf)>>").Bytes());
    if (draws) host.server->SetDrawing(ZDrawingFonts());
    ZXFDF xfdf;
    xfdf.Fields()["name"] = ZVariant("Zoé");
    ZAcroFormServerForm form;
    ASSERT_TRUE(host.server->PrepareForm(xfdf, "drawn", ZDocument::eModify, &form));
    EXPECT_EQ(form.Fields()["name"]->Dico()->Exist("/AP"), draws);
    EXPECT_TRUE(form.NeedAppearances());
  }
}

void AddDeepFields(ZXFDF* xfdf, int count, bool with_values) {
  ZXFDF::Field& deepest = xfdf->Fields().AddField(Chaine(Repeated("nnnnnnn.", 400) + "n"));
  for (int i = 0; i < count; i++) {
    ZXFDF::Field& field = deepest.AddField(Chaine(std::to_string(i)));
    if (with_values) field = "x";
  }
}

TEST(FormServer, WhichSubmissionsAreTaken) {
  ServerHost host;
  ASSERT_TRUE(host.server->Start());
  const std::string save = "/App/xfdf/save.cgi?code=F1";
  const struct {
    const char* title;
    std::string target;
    std::function<void(ZXFDF&)> change;
    int status;
    size_t posted;
  } cases[] = {
      {"as it is", save, [](ZXFDF&) {}, 200, 1},
      {"another page", "/App/xfdf/other.cgi?code=F1", [](ZXFDF&) {}, 404, 0},
      {"to modify", "/App/xfdf/modify.cgi", [](ZXFDF&) {}, 200, 0},
      {"no identifiers", save, [](ZXFDF& x) { x.SetIDS("", ""); }, 409, 0},
      {"no session", save, [](ZXFDF& x) { x.Fields().RemoveField("ZOR"), x.Fields().RemoveField("ZOR.SessionID"); },
       409, 0},
      {"a session that is not live", save, [](ZXFDF& x) { x.SessionID().SetParam("Live", "no"); }, 409, 0},
      {"another folder", save, [](ZXFDF& x) { x.SessionID().SetFolder(13, 3); }, 409, 0},
      {"another year", save, [](ZXFDF& x) { x.SessionID().SetFolder(12, 2); }, 409, 0},
      {"another application", save, [](ZXFDF& x) { x.SessionID().SetSoftware("Other"); }, 409, 0},
      {"its name in other letters", save, [](ZXFDF& x) { x.SessionID().SetSoftware("app"); }, 409, 0},
      {"session infos without end", save, [](ZXFDF& x) { x.SessionID().SetParam("Long", std::string(64 << 10, 'x')); },
       409, 0},
      {"a transaction never started", save, [](ZXFDF& x) { x.SessionID().SetTransactionID(5); }, 200, 1},
      {"no reference", save, [](ZXFDF& x) { x.SetPDFHRef(ZInetURL()); }, 200, 1},
      {"a reference without a code", save, [](ZXFDF& x) { x.SetPDFHRef(ZInetURL("http://h/")); }, 200, 1},
      {"no code anywhere", "/App/xfdf/save.cgi", [](ZXFDF& x) { x.SetPDFHRef(ZInetURL()); }, 404, 1},
      {"a form that is not there", save, [](ZXFDF& x) { x.SetPDFHRef(ZInetURL("http://localhost/get.cgi?code=F2")); },
       404, 1},
      {"a path for a code", save, [](ZXFDF& x) { x.SetPDFHRef(ZInetURL("http://localhost/get.cgi?code=..%2FF1")); },
       404, 1},
      {"a local copy", "/App/xfdf/save.cgi", [](ZXFDF& x) { x.SetPDFHRef(ZInetURL("file:///C:/Temp/12%B0_F1")); }, 200,
       1},
      {"more than forms have", save,
       [](ZXFDF& x) { x.Annots().FromChaine(Repeated("<a/>", ZHTTPServerPageXFDFSession::kMaxNodes)); }, 413, 0},
      {"more attributes", save,
       [](ZXFDF& x) {
         std::string attributes;
         for (size_t i = 0; i < ZHTTPServerPageXFDFSession::kMaxNodes; i++)
           attributes += " b" + std::to_string(i) + "=\"\"";
         x.Annots().FromChaine("<a" + attributes + "/>");
       },
       413, 0},
      {"a long text", save, [](ZXFDF& x) { x.Fields()["name"] = std::string(1 << 20, 'x'); }, 200, 1},
      {"a long text of nobody", save,
       [](ZXFDF& x) { x.SessionID().SetSoftware("Other"), x.Fields()["name"] = std::string(1 << 20, 'x'); }, 409, 0},
      {"more text than a form takes", save, [](ZXFDF& x) { x.Fields()["name"] = Repeated("\r\n", 7 << 20); }, 413, 0},
      {"deep fields without value", save, [](ZXFDF& x) { AddDeepFields(&x, 10'000, false); }, 200, 1},
      {"deep fields with values", save, [](ZXFDF& x) { AddDeepFields(&x, 100, true); }, 413, 0},
      {"a local file", save, [](ZXFDF& x) { x.SetPDFHRef(ZInetURL("file:///C:/Temp/F2")); }, 200, 1},
  };
  for (const auto& [title, target, change, status, posted] : cases) {
    ZXFDF xfdf = host.Open();
    change(xfdf);
    host.saved.clear();
    EXPECT_EQ(host.Post(target, xfdf.AsChaine().ToString()).status, status) << title;
    host.Deliver();
    EXPECT_EQ(host.saved.size(), posted) << title;
  }
  const std::string body = host.Open().AsChaine().ToString();
  host.saved.clear();
  for (const std::string& bytes :
       {std::string(), std::string("no XML"), body.substr(0, body.size() / 2), std::string("\0\xFF\xFE<xfdf>", 9)}) {
    EXPECT_EQ(host.Post(save, bytes).status, 409) << bytes;
  }
  for (const char* method : {"GET", "HEAD", "PUT"}) {
    const RawAnswer answer = host.Send(method, save, body);
    EXPECT_EQ(answer.status, 405) << method;
    EXPECT_NE(answer.head.find("\r\nAllow: POST\r\n"), std::string::npos) << answer.head;
  }
  std::string deep = "<xfdf><ids original=\"1\" modified=\"1\"/><fields>";
  for (int i = 0; i < 100000; i++) deep += "<field name=\"a\">";
  EXPECT_EQ(host.Post(save, deep).status, 409);
  EXPECT_EQ(host.Post(save, std::string((16 << 20) + 1, 'x')).status, 413);
  host.Deliver();
  EXPECT_TRUE(host.saved.empty());
}

TEST(FormServer, AFolderChangesForLaterRequestsOnly) {
  ServerHost host;
  ASSERT_TRUE(host.server->Start());
  const std::string save = "/App/xfdf/save.cgi?code=F1";
  const std::string old = host.Open().AsChaine().ToString();
  host.before_accept = [&] { host.server->SetCurrentFolder(20, 4); };
  EXPECT_EQ(host.Post(save, old).status, 200);
  host.before_accept = nullptr;
  EXPECT_EQ(host.Post(save, old).status, 409);
  EXPECT_EQ(host.Post(save, host.Open().AsChaine().ToString()).status, 200);
  host.Deliver();
  ASSERT_EQ(host.saved.size(), 2U);
  EXPECT_NE(host.saved[0].text.find("12"), std::string::npos);
  host.server->SetCurrentFolder(0, 4);
  EXPECT_EQ(host.Post(save, host.Open().AsChaine().ToString()).status, 404);
}

// Sixteen clients fetch forms and save them at the same time, each its own form. Some close the connection before the
// answer. Meanwhile the server is stopped, by the host's thread or by another one.
TEST(FormServer, StoppingUnderLoadLosesNoSubmission) {
  constexpr size_t kClients = 16;
  for (const bool by_host : {true, false}) {
    ServerHost host;
    ASSERT_TRUE(host.server->Start());
    std::mutex mutex;
    std::set<std::string> answered;
    const auto save_until_stopped = [&](size_t i, ZXFDF xfdf) {
      for (size_t n = 0;; n++) {
        const std::string value = "v" + std::to_string(i) + "." + std::to_string(n) + "!";
        xfdf.Fields()["name"] = ZVariant(value);
        const std::string body = xfdf.AsChaine().ToString();
        if (i % 4 == 0 && n == 5) {
          RawClient(host.server->Port())
              .Send("POST /App/xfdf/save.cgi?code=F1 HTTP/1.1\r\nHost: localhost:" + host.Port() +
                    "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body);
          return;
        }
        host.Get("/App/acroform/get.cgi?code=F1&Action=modify");
        const RawAnswer answer = host.Post("/App/xfdf/save.cgi?code=F1", body);
        if (answer.status != 200) return;
        ASSERT_NE(answer.head.find("Action=consult"), std::string::npos);
        xfdf = ServerHost::Submitted(answer.body, xfdf.PDFHRef().AsChaine().ToString());
        const std::lock_guard lock(mutex);
        answered.insert(value);
      }
    };
    std::vector<std::thread> threads;
    for (size_t i = 0; i < kClients; i++) threads.emplace_back(save_until_stopped, i, host.Open());
    const auto enough = [&] {
      const std::lock_guard lock(mutex);
      return answered.size() >= 6 * kClients;
    };
    if (!by_host) {
      threads.emplace_back([&] {
        while (!enough()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
        host.server->Stop();
        host.messages.Quit();
      });
      host.messages.Run();
    }
    while (!enough()) host.messages.WaitAndRun(std::chrono::milliseconds(5));
    host.server->Stop();
    for (std::thread& thread : threads) thread.join();
    host.Deliver();
    std::multiset<std::string> stored;
    for (const SavedXFDF& save : host.saved) {
      const size_t at = save.text.find("<value>v") + 7;
      EXPECT_TRUE(save.accepted);
      stored.insert(save.text.substr(at, save.text.find('!', at) + 1 - at));
    }
    for (const std::string& value : answered) EXPECT_EQ(stored.count(value), 1U) << value;
    for (const std::string& value : stored) EXPECT_EQ(stored.count(value), 1U) << value;
  }
}

}  // namespace
}  // namespace zforms
