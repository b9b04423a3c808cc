#include "agent/modules/pim/ContactsModule.h"

void CContactsModule::HandleCommand(std::int32_t command) {
  static constexpr Command<CContactsModule> kCommands[] = {
      {1, &CContactsModule::OpenItems},
      {3, &CContactsModule::CloseItems},
      {5, &CContactsModule::GetItemCount},
  };
  static_assert(Rises(kCommands, std::size(kCommands)));
  Dispatch(wire::kContacts, kCommands, command);
}
