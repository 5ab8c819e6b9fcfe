#include "zforms/server/messages.h"

#include <string_view>

#include "zforms/platform/base/number.h"

namespace zforms {
namespace {

constexpr std::string_view kStartFailed =
    "Impossible de démarrer le serveur HTTP pour la liaison avec le lecteur de documents PDF (WinErr: %d) !";
constexpr std::string_view kReaderMissing =
    "Adobe Reader 8 ou supérieur doit être installé sur la machine. Vous pouvez le télécharger par Internet ou le "
    "trouver sur le CD ZOR.";

}  // namespace

Chaine ServerMessage(eServerMessage message, int value) {
  const std::string_view text = message == eServerMessage::eStartFailed ? kStartFailed : kReaderMissing;
  const size_t place = text.find("%d");
  if (place == std::string_view::npos) return text;
  return Chaine(text.substr(0, place)) + FormatInt(value) + text.substr(place + 2);
}

}  // namespace zforms
