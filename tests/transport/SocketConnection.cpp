#include "tests/transport/SocketConnection.h"

namespace test {

CSocketConnection::CSocketConnection() = default;
CSocketConnection::~CSocketConnection() = default;
bool CSocketConnection::Start() { return true; }
bool CSocketConnection::Stop() { return true; }

}  // namespace test
