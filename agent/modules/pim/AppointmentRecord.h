// One appointment in memory, between the phone's object and the agendaentry document.
#pragma once

#include <cstdint>
#include <memory>

#include "agent/engine/ReplyWriter.h"
#include "platform/Appointment.h"
#include "platform/Automation.h"

class CAppointmentRecord {
 public:
  // Takes everything from an appointment. 0, the result of the first read that failed, or kNoCopy.
  ce::HRESULT Fill(ce::IAppointment& appointment);
  // Writes the document, result 0 in front of it.
  void Write(CReplyWriter& reply) const;

  // Kept(failed-copy-is-255): the result when there is no memory for a text.
  static constexpr ce::HRESULT kNoCopy = 255;

 private:
  using Text = std::unique_ptr<ce::WCHAR[]>;  // null: empty

  // A value of the pattern that a phone need not have.
  struct Optional {
    ce::LONG value = 0;
    bool wasRead = false;
  };
  class CReads;

  void FillRecurrence(CReads& reads, ce::IAppointment& appointment);
  void FillPattern(CReads& reads, ce::IRecurrencePattern& pattern);
  void WritePattern(CReplyWriter& reply) const;

  std::uint32_t m_oid = 0;
  Text m_subject;
  Text m_location;
  Text m_categories;
  Text m_body;
  Text m_reminderSoundFile;
  ce::DATE m_start = 0;
  ce::DATE m_end = 0;
  ce::LONG m_duration = 0;  // minutes
  ce::LONG m_busyStatus = 0;
  ce::LONG m_sensitivity = 0;
  ce::LONG m_meetingStatus = 0;
  ce::LONG m_reminderMinutesBeforeStart = 0;
  bool m_allDayEvent = false;
  bool m_reminderSet = false;
  bool m_isRecurring = false;

  // Of a recurring appointment.
  ce::LONG m_recurrenceType = 0;
  ce::DATE m_patternStartDate = 0;
  ce::DATE m_patternEndDate = 0;
  bool m_hasPatternEndDate = false;
  Optional m_occurrences;
  Optional m_interval;
  Optional m_dayOfWeekMask;
  ce::LONG m_dayOfMonth = 0;
  ce::LONG m_monthOfYear = 0;
  ce::LONG m_instance = 0;
};
