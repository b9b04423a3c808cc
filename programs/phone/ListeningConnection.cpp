#include "programs/phone/ListeningConnection.h"

namespace brelix_phone {

CListeningConnection::CListeningConnection(ce::SOCKET listening) { SetListeningSocket(listening); }

CListeningConnection::~CListeningConnection() = default;

bool CListeningConnection::Start() { return true; }

}  // namespace brelix_phone
