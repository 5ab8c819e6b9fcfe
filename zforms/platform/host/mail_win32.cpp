#include <string>
#include <vector>

#include "zforms/platform/host/mail.h"
#include "zforms/platform/text/wide_win32.h"

// Needs <windows.h>, which wide_win32.h includes.
#include <mapi.h>

namespace zforms {

namespace {

// MAPI takes text in the system's code page through pointers to non-const text.
std::string SystemText(const Chaine& text) { return Narrow(Widen(text), CP_ACP); }

class MapiMailer : public ZMailer {
 public:
  bool SendMail(const ZPDFEmail& message, bool dialog) override {
    const HMODULE library = ::LoadLibraryExW(L"mapi32.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
    if (library == nullptr) return false;
    const auto send =
        reinterpret_cast<LPMAPISENDMAIL>(reinterpret_cast<void*>(::GetProcAddress(library, "MAPISendMail")));
    const bool sent = send != nullptr && Send(send, message, dialog);
    ::FreeLibrary(library);
    return sent;
  }

 private:
  static bool Send(LPMAPISENDMAIL send, const ZPDFEmail& message, bool dialog) {
    std::string subject = SystemText(message.Subject());
    std::string text = SystemText(message.Text());
    std::vector<std::string> addresses;
    for (const Chaine& address : message.Recipients()) addresses.push_back(SystemText("SMTP:" + address));
    std::vector<std::string> paths;
    for (const ZPDFEmail::AttachedFile& file : message.AttachedFiles()) paths.push_back(SystemText(file.path));
    std::vector<MapiRecipDesc> recipients(addresses.size());
    for (size_t i = 0; i < addresses.size(); i++) {
      recipients[i].ulRecipClass = MAPI_TO;
      recipients[i].lpszName = addresses[i].data() + 5;
      recipients[i].lpszAddress = addresses[i].data();
    }
    std::vector<MapiFileDesc> files(paths.size());
    for (size_t i = 0; i < paths.size(); i++) {
      files[i].nPosition = static_cast<ULONG>(-1);
      files[i].lpszPathName = paths[i].data();
    }
    MapiMessage letter{};
    letter.lpszSubject = subject.data();
    letter.lpszNoteText = text.data();
    letter.nRecipCount = static_cast<ULONG>(recipients.size());
    letter.lpRecips = recipients.empty() ? nullptr : recipients.data();
    letter.nFileCount = static_cast<ULONG>(files.size());
    letter.lpFiles = files.empty() ? nullptr : files.data();
    const FLAGS flags = MAPI_LOGON_UI | (dialog ? MAPI_DIALOG : 0);
    return send(0, 0, &letter, flags, 0) == SUCCESS_SUCCESS;
  }
};

}  // namespace

std::unique_ptr<ZMailer> OpenSystemMailer() { return std::make_unique<MapiMailer>(); }

}  // namespace zforms
