#include "handset/pim/AppointmentObject.h"

#include "handset/com/ComObject.h"
#include "handset/pim/Properties.h"

namespace handset {

namespace {

using ce::BSTR;
using ce::DATE;
using ce::E_NOTIMPL;
using ce::HRESULT;
using ce::INT;
using ce::LONG;
using ce::S_OK;
using ce::VARIANT_BOOL;

// A getter that answers a member, and a setter that nobody calls.
#define GET(interface, type, name, value)                                       \
  HRESULT get_##name(type* place) override {                                    \
    return GetProperty<Call::interface##_get_##name>(GetPhone(), place, value); \
  }
#define NO_PUT(type, name) \
  HRESULT put_##name(type) override { return E_NOTIMPL; }
#define READ_ONLY(interface, type, name, value) GET(interface, type, name, value) NO_PUT(type, name)

class RecurrencePattern final : public DispatchObject<RecurrencePattern, ce::IRecurrencePattern> {
 public:
  static constexpr const char* kName = "IRecurrencePattern";
  static constexpr Call kRelease = Call::IRecurrencePattern_Release;
  static bool Answers(const ce::IID& iid) { return iid == ce::IID_IRecurrencePattern || DispatchObject::Answers(iid); }

  RecurrencePattern(Phone& phone, const Recurrence& recurrence) : DispatchObject(phone), m_it(recurrence) {}

  READ_ONLY(IRecurrencePattern, LONG, RecurrenceType, m_it.type)
  READ_ONLY(IRecurrencePattern, DATE, PatternStartDate, m_it.patternStartDate)
  READ_ONLY(IRecurrencePattern, DATE, StartTime, m_it.startTime)
  READ_ONLY(IRecurrencePattern, DATE, EndTime, m_it.endTime)
  READ_ONLY(IRecurrencePattern, DATE, PatternEndDate, m_it.patternEndDate)
  READ_ONLY(IRecurrencePattern, VARIANT_BOOL, NoEndDate, m_it.noEndDate)
  READ_ONLY(IRecurrencePattern, LONG, Occurrences, m_it.occurrences)
  READ_ONLY(IRecurrencePattern, LONG, Interval, m_it.interval)
  READ_ONLY(IRecurrencePattern, LONG, DayOfWeekMask, m_it.dayOfWeekMask)
  READ_ONLY(IRecurrencePattern, LONG, DayOfMonth, m_it.dayOfMonth)
  READ_ONLY(IRecurrencePattern, LONG, Instance, m_it.instance)
  READ_ONLY(IRecurrencePattern, LONG, MonthOfYear, m_it.monthOfYear)

  HRESULT get_Duration(LONG*) override { return E_NOTIMPL; }
  NO_PUT(LONG, Duration)
  HRESULT get_Exceptions(ce::IExceptions**) override { return E_NOTIMPL; }
  HRESULT get_Application(ce::IPOutlookApp**) override { return E_NOTIMPL; }
  HRESULT GetOccurrence(DATE, ce::IAppointment**) override { return E_NOTIMPL; }

 private:
  const Recurrence m_it;
};

// The agent takes the list and gives it back without a look.
class Recipients final : public DispatchObject<Recipients, ce::IRecipients> {
 public:
  static constexpr const char* kName = "IRecipients";
  static constexpr Call kRelease = Call::IRecipients_Release;
  static bool Answers(const ce::IID& iid) { return iid == ce::IID_IRecipients || DispatchObject::Answers(iid); }

  using DispatchObject::DispatchObject;
  explicit Recipients(Phone& phone) : DispatchObject(phone) {}

  HRESULT Add(BSTR, ce::IRecipient**) override { return E_NOTIMPL; }
  HRESULT Item(INT, ce::IRecipient**) override { return E_NOTIMPL; }
  HRESULT Remove(INT) override { return E_NOTIMPL; }
  HRESULT get_Count(INT*) override { return E_NOTIMPL; }
  HRESULT get__NewEnum(ce::IUnknown**) override { return E_NOTIMPL; }
  HRESULT get_Application(ce::IPOutlookApp**) override { return E_NOTIMPL; }
};

class AppointmentObject final : public DispatchObject<AppointmentObject, ce::IAppointment> {
 public:
  static constexpr const char* kName = "IAppointment";
  static constexpr Call kRelease = Call::IAppointment_Release;
  static bool Answers(const ce::IID& iid) { return iid == ce::IID_IAppointment || DispatchObject::Answers(iid); }

  AppointmentObject(Phone& phone, Appointment appointment) : DispatchObject(phone), m_it(std::move(appointment)) {}

  GET(IAppointment, LONG, Oid, static_cast<LONG>(m_it.oid))
  GET(IAppointment, VARIANT_BOOL, IsRecurring, m_it.recurrence.has_value())
  READ_ONLY(IAppointment, BSTR, Subject, m_it.subject)
  READ_ONLY(IAppointment, BSTR, Location, m_it.location)
  READ_ONLY(IAppointment, BSTR, Categories, m_it.categories)
  READ_ONLY(IAppointment, DATE, Start, m_it.start)
  READ_ONLY(IAppointment, LONG, Duration, m_it.duration)
  READ_ONLY(IAppointment, DATE, End, m_it.end)
  READ_ONLY(IAppointment, VARIANT_BOOL, AllDayEvent, m_it.allDayEvent)
  READ_ONLY(IAppointment, LONG, BusyStatus, m_it.busyStatus)
  READ_ONLY(IAppointment, LONG, Sensitivity, m_it.sensitivity)
  READ_ONLY(IAppointment, BSTR, Body, m_it.body)
  GET(IAppointment, LONG, MeetingStatus, m_it.meetingStatus)
  READ_ONLY(IAppointment, VARIANT_BOOL, ReminderSet, m_it.reminderSet)
  READ_ONLY(IAppointment, BSTR, ReminderSoundFile, m_it.reminderSoundFile)
  READ_ONLY(IAppointment, LONG, ReminderMinutesBeforeStart, m_it.reminderMinutesBeforeStart)
  READ_ONLY(IAppointment, LONG, ReminderOptions, m_it.reminderOptions)

  // One that does not recur has a pattern too, which nobody filled in.
  HRESULT GetRecurrencePattern(ce::IRecurrencePattern** pattern) override {
    return Enter<Call::IAppointment_GetRecurrencePattern>(GetPhone(), [&] {
      if (pattern == nullptr) return ce::E_POINTER;
      *pattern = new RecurrencePattern(GetPhone(), m_it.recurrence.value_or(Recurrence{}));
      return S_OK;
    });
  }

  HRESULT get_Recipients(ce::IRecipients** recipients) override {
    return Enter<Call::IAppointment_get_Recipients>(GetPhone(), [&] {
      if (recipients == nullptr) return ce::E_POINTER;
      *recipients = new Recipients(GetPhone());
      return S_OK;
    });
  }

  HRESULT ClearRecurrencePattern() override { return E_NOTIMPL; }
  HRESULT Save() override { return E_NOTIMPL; }
  HRESULT Send() override { return E_NOTIMPL; }
  HRESULT Delete() override { return E_NOTIMPL; }
  HRESULT Cancel() override { return E_NOTIMPL; }
  HRESULT Copy(ce::IAppointment**) override { return E_NOTIMPL; }
  HRESULT Display() override { return E_NOTIMPL; }
  HRESULT put_BodyInk(ce::CEBLOB*) override { return E_NOTIMPL; }
  HRESULT get_BodyInk(ce::CEBLOB*) override { return E_NOTIMPL; }
  HRESULT get_Application(ce::IPOutlookApp**) override { return E_NOTIMPL; }

 private:
  const Appointment m_it;
};

#undef READ_ONLY
#undef NO_PUT
#undef GET

}  // namespace

ce::IAppointment* NewAppointmentObject(Phone& phone, Appointment appointment) {
  return new AppointmentObject(phone, std::move(appointment));
}

}  // namespace handset
