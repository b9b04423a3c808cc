// CAppointmentRecord, filled from an appointment of the phone.
#include "agent/modules/pim/AppointmentRecord.h"

#include <cstring>
#include <new>

#include "agent/engine/ComReference.h"
#include "agent/engine/SystemString.h"
#include "agent/modules/pim/RecurrenceTypes.h"

// Reads one property after the other until one fails. Chosen: negative answers are failures, so that a phone that says
// 1 of an empty text is read.
class CAppointmentRecord::CReads {
 public:
  // 0 as long as none failed.
  ce::HRESULT Failure() const { return m_failure; }
  void Fail(ce::HRESULT failure) { m_failure = m_failure == ce::S_OK ? failure : m_failure; }

  template <class Object, class Base, class Place>
  void Read(Object& object, ce::HRESULT (Base::*method)(Place*), Place* place) {
    if (m_failure == ce::S_OK) {
      const ce::HRESULT result = (object.*method)(place);
      m_failure = result < 0 ? result : ce::S_OK;
    }
  }

  // For what is read only because a phone that cannot tell it is answered with its error.
  template <class Object, class Place>
  void ReadUnused(Object& object, ce::HRESULT (Object::*method)(Place*)) {
    Place unused{};
    Read(object, method, &unused);
  }

  template <class Object>
  void ReadFlag(Object& object, ce::HRESULT (Object::*method)(ce::VARIANT_BOOL*), bool& flag) {
    ce::VARIANT_BOOL value = ce::VARIANT_FALSE;
    Read(object, method, &value);
    flag = value != ce::VARIANT_FALSE;
  }

  void ReadText(ce::IAppointment& object, ce::HRESULT (ce::IAppointment::*method)(ce::BSTR*), Text& text) {
    CSystemString value;
    Read(object, method, value.Receive());
    if (m_failure != ce::S_OK || value.View().empty()) {
      return;
    }
    const std::size_t units = value.View().size() + 1;
    text.reset(new (std::nothrow) ce::WCHAR[units]);
    if (text) {
      std::memcpy(text.get(), value.Get(), units * sizeof(ce::WCHAR));
    } else {
      Fail(kNoCopy);
    }
  }

  template <class Object, class Interface>
  void ReadObject(Object& object, ce::HRESULT (Object::*method)(Interface**), CComReference<Interface>& place) {
    Read(object, method, place.Receive());
  }

 private:
  ce::HRESULT m_failure = ce::S_OK;
};

ce::HRESULT CAppointmentRecord::Fill(ce::IAppointment& appointment) {
  using Appointment = ce::IAppointment;
  CReads reads;
  ce::LONG oid = 0;
  reads.Read(appointment, &Appointment::get_Oid, &oid);
  m_oid = static_cast<std::uint32_t>(oid);
  FillRecurrence(reads, appointment);
  reads.ReadText(appointment, &Appointment::get_Subject, m_subject);
  reads.ReadText(appointment, &Appointment::get_Location, m_location);
  reads.ReadText(appointment, &Appointment::get_Categories, m_categories);
  reads.Read(appointment, &Appointment::get_Start, &m_start);
  reads.Read(appointment, &Appointment::get_End, &m_end);
  reads.Read(appointment, &Appointment::get_Duration, &m_duration);
  reads.ReadFlag(appointment, &Appointment::get_AllDayEvent, m_allDayEvent);
  reads.Read(appointment, &Appointment::get_BusyStatus, &m_busyStatus);
  reads.Read(appointment, &Appointment::get_Sensitivity, &m_sensitivity);
  reads.ReadText(appointment, &Appointment::get_Body, m_body);
  CComReference<ce::IRecipients> unused;
  reads.ReadObject(appointment, &Appointment::get_Recipients, unused);
  reads.Read(appointment, &Appointment::get_MeetingStatus, &m_meetingStatus);
  reads.ReadFlag(appointment, &Appointment::get_ReminderSet, m_reminderSet);
  reads.ReadText(appointment, &Appointment::get_ReminderSoundFile, m_reminderSoundFile);
  reads.Read(appointment, &Appointment::get_ReminderMinutesBeforeStart, &m_reminderMinutesBeforeStart);
  reads.ReadUnused(appointment, &Appointment::get_ReminderOptions);
  return reads.Failure();
}

// Chosen: an appointment that recurs and gives no pattern is answered with E_POINTER.
void CAppointmentRecord::FillRecurrence(CReads& reads, ce::IAppointment& appointment) {
  reads.ReadFlag(appointment, &ce::IAppointment::get_IsRecurring, m_isRecurring);
  if (!m_isRecurring) {
    return;
  }
  CComReference<ce::IRecurrencePattern> pattern;
  reads.ReadObject(appointment, &ce::IAppointment::GetRecurrencePattern, pattern);
  if (pattern) {
    FillPattern(reads, *pattern);
  } else {
    reads.Fail(ce::E_POINTER);
  }
}

void CAppointmentRecord::FillPattern(CReads& reads, ce::IRecurrencePattern& pattern) {
  using Pattern = ce::IRecurrencePattern;
  bool noEndDate = false;
  reads.Read(pattern, &Pattern::get_RecurrenceType, &m_recurrenceType);
  reads.Read(pattern, &Pattern::get_PatternStartDate, &m_patternStartDate);
  reads.ReadUnused(pattern, &Pattern::get_StartTime);
  reads.ReadUnused(pattern, &Pattern::get_EndTime);
  reads.ReadFlag(pattern, &Pattern::get_NoEndDate, noEndDate);
  if (reads.Failure() != ce::S_OK) {
    return;
  }
  if (!noEndDate) {
    m_hasPatternEndDate = pattern.get_PatternEndDate(&m_patternEndDate) >= 0;
    m_occurrences.wasRead = pattern.get_Occurrences(&m_occurrences.value) >= 0;
  }
  m_interval.wasRead = pattern.get_Interval(&m_interval.value) >= 0;
  if (recurrence::HasDayOfWeekMask(m_recurrenceType)) {
    m_dayOfWeekMask.wasRead = pattern.get_DayOfWeekMask(&m_dayOfWeekMask.value) >= 0;
  }
  if (recurrence::HasDayOfMonth(m_recurrenceType)) {
    reads.Read(pattern, &Pattern::get_DayOfMonth, &m_dayOfMonth);
  }
  if (recurrence::HasMonthOfYear(m_recurrenceType)) {
    reads.Read(pattern, &Pattern::get_MonthOfYear, &m_monthOfYear);
  }
  if (recurrence::HasInstance(m_recurrenceType)) {
    reads.Read(pattern, &Pattern::get_Instance, &m_instance);
  }
}
