// What MAPI hands out beside objects: rows of tables and values of properties, given back with the scope, and how they
// are asked for.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "platform/Mapi.h"

// A fixed set of property tags, laid out as MAPI takes it.
template <ce::ULONG kCount>
struct PropTags {
  ce::ULONG count;
  ce::ULONG tags[kCount];

  const ce::SPropTagArray* Get() const { return reinterpret_cast<const ce::SPropTagArray*>(this); }
};
template <class... Tags>
PropTags(ce::ULONG, Tags...) -> PropTags<sizeof...(Tags)>;

// The text of a value that has this tag; nothing for another one, an error among them.
inline std::optional<std::u16string_view> TextOf(const ce::SPropValue& value, ce::ULONG tag) {
  if (value.ulPropTag != tag || value.Value.lpszW == nullptr) {
    return std::nullopt;
  }
  return value.Value.lpszW;
}

// A row read from a table.
class CTableRow {
 public:
  CTableRow() = default;
  ~CTableRow() { Free(); }
  CTableRow(const CTableRow&) = delete;
  CTableRow& operator=(const CTableRow&) = delete;

  // Reads the table's next row in place of the one before.
  ce::HRESULT ReadNext(ce::IMAPITable& table) {
    Free();
    return table.QueryRows(1, 0, &m_rows);
  }
  // Null at the table's end.
  const ce::SRow* Get() const { return m_rows != nullptr && m_rows->cRows != 0 ? m_rows->aRow : nullptr; }

 private:
  void Free() {
    if (Get() != nullptr) {
      ce::FreeProws(m_rows);
    } else if (m_rows != nullptr) {
      ce::MAPIFreeBuffer(m_rows);
    }
    m_rows = nullptr;
  }

  ce::SRowSet* m_rows = nullptr;
};

// One property of an object.
class CPropValue {
 public:
  CPropValue() = default;
  ~CPropValue() {
    if (m_values != nullptr) {
      ce::MAPIFreeBuffer(m_values);
    }
  }
  CPropValue(const CPropValue&) = delete;
  CPropValue& operator=(const CPropValue&) = delete;

  ce::HRESULT Read(ce::IMAPIProp& object, ce::ULONG tag) {
    const PropTags tags{1, tag};
    return object.GetProps(tags.Get(), ce::MAPI_UNICODE, &m_count, &m_values);
  }
  // Null when the object gave no value, or more than one.
  const ce::SPropValue* Get() const { return m_values != nullptr && m_count == 1 ? m_values : nullptr; }

 private:
  ce::SPropValue* m_values = nullptr;
  ce::ULONG m_count = 0;
};

// What a command on the message stores comes to: 0, the code of the MAPI call that failed, or this.
inline constexpr std::uint32_t kNothingFound = 2;
constexpr std::uint32_t OutcomeOf(ce::HRESULT result) { return result < 0 ? static_cast<std::uint32_t>(result) : 0; }

// Reads a property that the object must have. Chosen: one that it has not is the error that MAPI gives in its place.
std::uint32_t ReadNeeded(ce::IMAPIProp& object, ce::ULONG tag, CPropValue& value);
