#include "handset/radio/BluezRadio.h"

#include <cerrno>
#include <fmt/format.h>
#include <system_error>

#include "handset/Enter.h"
#include "handset/Errors.h"
#include "handset/net/HostSocket.h"
#include "handset/radio/SdpRecord.h"
#include "platform/Bluetooth.h"

namespace handset {

namespace {

using Why = BluezError::Why;

// Of a mode that is none, and of a radio that cannot be had.
constexpr ce::DWORD kInvalidParameter = 87;
constexpr ce::DWORD kServiceNotActive = 1062;
constexpr ce::INT kAccessDenied = 10013;
constexpr int kBindAttempts = 4;

// The code of WSASetService.
ce::DWORD CodeOf(const BluezError& error) {
  return static_cast<ce::DWORD>(error.GetWhy() == Why::kRefused ? kAccessDenied : ce::WSASERVICE_NOT_FOUND);
}

BluetoothAddress ToAddress(std::uint64_t adapter) {
  BluetoothAddress address;
  for (std::uint8_t& byte : address) {
    byte = static_cast<std::uint8_t>(adapter);
    adapter >>= 8;
  }
  return address;
}

// Throws RadioError when the kernel gives no RFCOMM sockets.
void NeedRfcomm() {
  try {
    NewRfcommSocket();
  } catch (const std::system_error& error) {
    const int code = error.code().value();
    if (code == EAFNOSUPPORT) {
      throw RadioError(
          "this kernel has no Bluetooth sockets: load them (modprobe rfcomm) or use a kernel with CONFIG_BT; inside a "
          "container there are none but with the host's own network");
    }
    if (code == EPROTONOSUPPORT || code == ESOCKTNOSUPPORT) {
      throw RadioError("this kernel has Bluetooth but no RFCOMM: load it (modprobe rfcomm)");
    }
    throw RadioError(fmt::format("no RFCOMM socket can be made: {}", error.code().message()));
  }
}

}  // namespace

BluezRadio::BluezRadio(BluezOptions options)
    : m_security(options.insecure ? LinkSecurity::kLow : LinkSecurity::kMedium), m_keeper(std::move(options)) {}

BluezRadio::~BluezRadio() = default;

std::uint32_t BluezRadio::GetMode() {
  try {
    return ModeOf(m_keeper.GetAdapter());
  } catch (const BluezError&) {
    throw Failure{kServiceNotActive};
  }
}

void BluezRadio::SetMode(std::uint32_t mode) {
  if (!IsKnownMode(mode)) throw Failure{kInvalidParameter};
  try {
    m_keeper.SetMode(mode);
  } catch (const BluezError& error) {
    m_keeper.Report(fmt::format("the adapter cannot be made {}: {}", NameOfMode(mode), error.what()));
    throw Failure{kServiceNotActive};
  }
}

UniqueFd BluezRadio::MakeSocket() {
  try {
    UniqueFd made = NewRfcommSocket();
    SetLinkSecurity(made.Get(), m_security);
    return made;
  } catch (const std::system_error& error) {
    throw Failure{WinsockCode(error.code().value())};
  }
}

std::unique_ptr<HeldChannel> BluezRadio::Bind(int socket, std::uint64_t adapter, std::uint32_t channel) {
  const std::vector<BluetoothAddress> adapters = m_keeper.GetAddresses();
  // Somebody else may bind the channel that was free a moment ago.
  for (int attempt = 1;; ++attempt) {
    try {
      const std::uint32_t free = channel != 0 ? channel : FindFreeChannel(adapters);
      if (free == 0) throw Failure{static_cast<ce::DWORD>(ce::WSAEADDRINUSE)};
      BindRfcomm(socket, ToAddress(adapter), free);
      return std::make_unique<HeldChannel>(free);
    } catch (const std::system_error& error) {
      const bool mayTryAgain = channel == 0 && error.code() == std::errc::address_in_use && attempt < kBindAttempts;
      if (!mayTryAgain) throw Failure{WinsockCode(error.code().value())};
    }
  }
}

std::uint32_t BluezRadio::Publish(std::span<const std::uint8_t> record) {
  try {
    return m_keeper.Publish(ToBluezXml(ParseSdpRecord(record)));
  } catch (const SdpError& error) {
    m_keeper.Report(error.what());
    throw Failure{static_cast<ce::DWORD>(ce::WSAEINVAL)};
  } catch (const BluezError& error) {
    m_keeper.Report(error.what());
    throw Failure{CodeOf(error)};
  }
}

void BluezRadio::Withdraw(std::uint32_t handle) {
  try {
    if (!m_keeper.Withdraw(handle)) throw Failure{static_cast<ce::DWORD>(ce::WSASERVICE_NOT_FOUND)};
  } catch (const BluezError& error) {
    m_keeper.Report(error.what());
    throw Failure{CodeOf(error)};
  }
}

BluezPlace OpenBluez(BluezOptions options) {
  try {
    auto radio = std::make_unique<BluezRadio>(std::move(options));
    const BluezAdapter adapter = radio->GetAdapter();
    NeedRfcomm();
    return {std::move(radio), ToText(adapter.address), adapter.name};
  } catch (const BluezError& error) {
    throw RadioError(error.what());
  }
}

}  // namespace handset
