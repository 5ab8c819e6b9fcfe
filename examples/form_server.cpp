// A host with a form server: opens one form, prints each saved value, and stops when its input ends:
//   form_server FOLDER CODE [OPENED.xfdf]
// FOLDER contains the form CODE.pdf. Opens the form in the desktop's program for PDF. With a third argument, it does
// not open that program: it writes the XFDF document from which a PDF reader opens the form. Fill in the form and press
// its save button.

#include <iostream>
#include <memory>
#include <string>
#include <thread>

#include "zforms/platform/base/idle_messages.h"
#include "zforms/platform/host/host_services.h"
#include "zforms/server/acro_form_server.h"
#include "zforms/server/xfdf_handler.h"
#include "zforms/xfdf/xfdf.h"

namespace {

using zforms::ZXFDF;

constexpr uint64_t kFolder = 1;
constexpr int32_t kYear = 2025;
// The token of the session. A real host makes a new token for each form, one that nobody can guess.
constexpr char kSession[] = "4bc7f3";

// A message about a submission, which is handled on the host's thread. Store the data here.
class Message : public zforms::ZAcroFormServerXFDFHandler::CSaveXFDFMessage {
 public:
  using ZAcroFormServerSaveXFDFMessage::ZAcroFormServerSaveXFDFMessage;
  void OnIdleMessage() override {
    std::cout << (DataIsOK() ? "saved" : "refused, because a newer copy was saved before") << std::endl;
    if (!DataIsOK()) return;
    // Visits the document's values once. If storing takes long, do it on another thread: this one handles all
    // submissions.
    XFDF().Fields().VisitValues([](std::string_view name, const ZXFDF::Field& field) {
      std::cout << "  " << name << " = " << field.ValuesAsText().View() << std::endl;
      return true;
    });
  }
};

// Checks and answers one submission, on one of the server's threads.
class Session : public zforms::ZAcroFormServerXFDFHandler::CSession {
 public:
  using ZAcroFormServerXFDFSession::ZAcroFormServerXFDFSession;
  // Avoids reading a long document that CheckSession would refuse.
  bool IsWorthReading(const ZXFDF::SessionInfos* infos) override { return infos != nullptr && CheckSession(*infos); }
  bool CheckSession(const ZXFDF::SessionInfos& infos) override { return infos.Param("Example.Session") == kSession; }
  bool AcceptSave() override { return TransactionManager().IncTransactionIn(ReceivedXFDF()); }
  CSaveXFDFMessage* CreateSaveMessage(const zforms::ZInetURL& url, const ZXFDF& xfdf, bool accepted) override {
    return new Message(url, xfdf, accepted);
  }
};

class Handler : public zforms::ZAcroFormServerXFDFHandler {
 public:
  using ZAcroFormServerXFDFHandler::ZAcroFormServerXFDFHandler;
  std::unique_ptr<CSessionBase> AllocSession() override {
    uint64_t folder = 0;
    int32_t year = 0;
    GetCurrentFolder(folder, year);
    return std::make_unique<Session>(this, folder, year);
  }
};

// The form server. On Windows, Start first looks for a PDF reader of version 8 or later. Without one, it shows the
// user a question; see docs/server.md.
class Server : public zforms::ZAcroFormServer {
 public:
  using ZAcroFormServer::ZAcroFormServer;
  ~Server() override { Stop(); }
};

// Opens the form in the program for PDF. ShowXFDF(xfdf, true) would open the XFDF document in the program for XFDF
// instead. On Windows that is the PDF reader; few desktops on other systems have such a program.
bool Show(const Server& server, const ZXFDF& xfdf, const char* opened) {
  if (opened == nullptr) return server.ShowXFDF(xfdf, false);
  if (!xfdf.Save(opened)) return false;
  std::cout << "open " << opened << std::endl;
  return true;
}

int Run(const char* folder, const char* code, const char* opened) {
  const zforms::ZSystemServices system("Example");
  Server server(0, folder, kFolder, kYear, system.Services());
  auto* handler = new Handler(&server, server.XFDFRoot(), kFolder, kYear);
  server.SetXFDFHandler(handler, true);
  if (!server.Start()) return 1;

  const auto builder = server.GetXFDFBuilder(code);
  if (!builder) {
    std::cerr << "there is no form " << code << " in " << folder << "\n";
    return 1;
  }
  builder->SetAutoMap("", false);
  ZXFDF xfdf = builder->CreateXFDF();
  handler->TransactionManager().StartTransactionFor(xfdf);
  xfdf.SessionID().SetParam("Example.Session", kSession);
  if (!Show(server, xfdf, opened)) {
    std::cerr << "the form could not be shown\n";
    return 1;
  }

  // A host with its own event loop does not call Run: it passes SetWake a function that wakes the loop, and calls
  // RunPending in the loop.
  zforms::ZIdleMessageManager& messages = server.IdleMessages();
  std::thread input([&messages] {
    while (std::cin.get() != std::char_traits<char>::eof()) continue;
    messages.Quit();
  });
  messages.Run();
  input.join();
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3 && argc != 4) {
    std::cerr << "usage: form_server FOLDER CODE [OPENED.xfdf]\n";
    return 2;
  }
  return Run(argv[1], argv[2], argc == 4 ? argv[3] : nullptr);
}
