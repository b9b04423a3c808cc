#include "agent/modules/pim/AgendaModule.h"

void CAgendaModule::HandleCommand(std::int32_t command) {
  static constexpr Command<CAgendaModule> kCommands[] = {
      {1, &CAgendaModule::OpenItems},
      {3, &CAgendaModule::CloseItems},
      {5, &CAgendaModule::GetItemCount},
  };
  static_assert(Rises(kCommands, std::size(kCommands)));
  Dispatch(wire::kAgenda, kCommands, command);
}
