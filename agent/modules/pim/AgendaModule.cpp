#include "agent/modules/pim/AgendaModule.h"

#include "agent/modules/pim/AppointmentRecord.h"

void CAgendaModule::HandleCommand(std::int32_t command) {
  static constexpr Command<CAgendaModule> kCommands[] = {
      {1, &CAgendaModule::OpenItems},
      {3, &CAgendaModule::CloseItems},
      {5, &CAgendaModule::GetItemCount},
      {9, &CAgendaModule::GetAppointmentXml},
  };
  static_assert(Rises(kCommands, std::size(kCommands)));
  Dispatch(wire::kAgenda, kCommands, command);
}

void CAgendaModule::GetAppointmentXml(CReplyWriter& reply) {
  const CComReference<ce::IDispatch> item = GetRequestedItem(reply);
  if (!item) {
    return;
  }
  CAppointmentRecord record;
  if (const ce::HRESULT result = record.Fill(static_cast<ce::IAppointment&>(*item)); result != ce::S_OK) {
    return reply.SendResult(static_cast<std::uint32_t>(result));
  }
  record.Write(reply);
  reply.Send();
}
