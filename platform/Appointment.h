// pimstore: an appointment, its recurrence pattern and its recipients, every slot in its order.
#pragma once

#include "platform/PocketOutlook.h"

namespace ce {

inline constexpr IID IID_IAppointment{0x5B43F691, 0x202C, 0x11D2, {0x8F, 0x18, 0x00, 0x00, 0xF8, 0x7A, 0x43, 0x35}};
inline constexpr IID IID_IRecurrencePattern{
    0x38F47300, 0x270F, 0x11D2, {0x8F, 0x18, 0x00, 0x00, 0xF8, 0x7A, 0x43, 0x35}};
inline constexpr IID IID_IRecipients{0x76065AE0, 0x2347, 0x11D2, {0x8F, 0x18, 0x00, 0x00, 0xF8, 0x7A, 0x43, 0x35}};

struct CEBLOB;
struct IExceptions;
struct IRecipient;
struct IAppointment;

// OlRecurrenceType. 4 is not used.
inline constexpr LONG olRecursOnce = -1;
inline constexpr LONG olRecursDaily = 0;
inline constexpr LONG olRecursWeekly = 1;
inline constexpr LONG olRecursMonthly = 2;
inline constexpr LONG olRecursMonthNth = 3;
inline constexpr LONG olRecursYearly = 5;
inline constexpr LONG olRecursYearNth = 6;

struct IRecurrencePattern : IDispatch {
  virtual HRESULT get_RecurrenceType(LONG* value) = 0;
  virtual HRESULT get_PatternStartDate(DATE* date) = 0;
  virtual HRESULT get_StartTime(DATE* date) = 0;
  virtual HRESULT get_EndTime(DATE* date) = 0;
  virtual HRESULT get_PatternEndDate(DATE* date) = 0;
  virtual HRESULT get_NoEndDate(VARIANT_BOOL* value) = 0;
  virtual HRESULT get_Occurrences(LONG* value) = 0;
  virtual HRESULT get_Interval(LONG* value) = 0;
  virtual HRESULT get_DayOfWeekMask(LONG* value) = 0;
  virtual HRESULT get_DayOfMonth(LONG* value) = 0;
  virtual HRESULT get_Instance(LONG* value) = 0;
  virtual HRESULT get_Duration(LONG* value) = 0;
  virtual HRESULT get_MonthOfYear(LONG* value) = 0;
  virtual HRESULT put_RecurrenceType(LONG value) = 0;
  virtual HRESULT put_PatternStartDate(DATE date) = 0;
  virtual HRESULT put_StartTime(DATE date) = 0;
  virtual HRESULT put_EndTime(DATE date) = 0;
  virtual HRESULT put_PatternEndDate(DATE date) = 0;
  virtual HRESULT put_NoEndDate(VARIANT_BOOL value) = 0;
  virtual HRESULT put_Occurrences(LONG value) = 0;
  virtual HRESULT put_Interval(LONG value) = 0;
  virtual HRESULT put_DayOfWeekMask(LONG value) = 0;
  virtual HRESULT put_DayOfMonth(LONG value) = 0;
  virtual HRESULT put_Instance(LONG value) = 0;
  virtual HRESULT put_Duration(LONG value) = 0;
  virtual HRESULT put_MonthOfYear(LONG value) = 0;
  virtual HRESULT get_Exceptions(IExceptions** exceptions) = 0;
  virtual HRESULT get_Application(IPOutlookApp** app) = 0;
  virtual HRESULT GetOccurrence(DATE date, IAppointment** appointment) = 0;
};

struct IRecipients : IDispatch {
  virtual HRESULT Add(BSTR name, IRecipient** recipient) = 0;
  virtual HRESULT Item(INT index, IRecipient** recipient) = 0;
  virtual HRESULT Remove(INT index) = 0;
  virtual HRESULT get_Count(INT* value) = 0;
  virtual HRESULT get__NewEnum(IUnknown** enumerator) = 0;
  virtual HRESULT get_Application(IPOutlookApp** app) = 0;
};

struct IAppointment : IDispatch {
  virtual HRESULT ClearRecurrencePattern() = 0;
  virtual HRESULT GetRecurrencePattern(IRecurrencePattern** pattern) = 0;
  virtual HRESULT get_IsRecurring(VARIANT_BOOL* value) = 0;
  virtual HRESULT get_Subject(BSTR* text) = 0;
  virtual HRESULT get_Location(BSTR* text) = 0;
  virtual HRESULT get_Categories(BSTR* text) = 0;
  virtual HRESULT get_Start(DATE* date) = 0;
  virtual HRESULT get_Duration(LONG* value) = 0;
  virtual HRESULT get_End(DATE* date) = 0;
  virtual HRESULT get_AllDayEvent(VARIANT_BOOL* value) = 0;
  virtual HRESULT get_BusyStatus(LONG* value) = 0;
  virtual HRESULT get_Sensitivity(LONG* value) = 0;
  virtual HRESULT get_Body(BSTR* text) = 0;
  virtual HRESULT get_Recipients(IRecipients** recipients) = 0;
  virtual HRESULT get_MeetingStatus(LONG* value) = 0;
  virtual HRESULT get_ReminderSet(VARIANT_BOOL* value) = 0;
  virtual HRESULT get_ReminderSoundFile(BSTR* text) = 0;
  virtual HRESULT get_ReminderMinutesBeforeStart(LONG* value) = 0;
  virtual HRESULT get_ReminderOptions(LONG* value) = 0;
  virtual HRESULT put_Subject(BSTR text) = 0;
  virtual HRESULT put_Location(BSTR text) = 0;
  virtual HRESULT put_Categories(BSTR text) = 0;
  virtual HRESULT put_Start(DATE date) = 0;
  virtual HRESULT put_Duration(LONG value) = 0;
  virtual HRESULT put_End(DATE date) = 0;
  virtual HRESULT put_AllDayEvent(VARIANT_BOOL value) = 0;
  virtual HRESULT put_BusyStatus(LONG value) = 0;
  virtual HRESULT put_Sensitivity(LONG value) = 0;
  virtual HRESULT put_Body(BSTR text) = 0;
  virtual HRESULT put_ReminderSet(VARIANT_BOOL value) = 0;
  virtual HRESULT put_ReminderSoundFile(BSTR text) = 0;
  virtual HRESULT put_ReminderMinutesBeforeStart(LONG value) = 0;
  virtual HRESULT put_ReminderOptions(LONG value) = 0;
  virtual HRESULT Save() = 0;
  virtual HRESULT Send() = 0;
  virtual HRESULT Delete() = 0;
  virtual HRESULT Cancel() = 0;
  virtual HRESULT Copy(IAppointment** copy) = 0;
  virtual HRESULT Display() = 0;
  virtual HRESULT get_Oid(LONG* value) = 0;
  virtual HRESULT put_BodyInk(CEBLOB* ink) = 0;
  virtual HRESULT get_BodyInk(CEBLOB* ink) = 0;
  virtual HRESULT get_Application(IPOutlookApp** app) = 0;
};

}  // namespace ce
