#include "handset/mail/Table.h"

#include <optional>

#include "handset/com/ComObject.h"
#include "handset/mail/Unsupported.h"

namespace handset {

namespace {

using ce::BYTE;
using ce::E_INVALIDARG;
using ce::HRESULT;
using ce::LONG;
using ce::S_OK;
using ce::ULONG;

constexpr HRESULT MAPI_E_TOO_COMPLEX = ce::Hresult(0x80040117);
constexpr LONG kMostRowsAtOnce = 10;

class Table final : public ComObject<Table, ce::IMAPITable> {
 public:
  static constexpr const char* kName = "IMAPITable";
  static constexpr Call kRelease = Call::IMAPITable_Release;
  static bool Answers(const ce::IID&) { return false; }

  Table(Phone& phone, TableSource source) : ComObject(phone), m_source(std::move(source)) {}

  HRESULT SetColumns(const ce::SPropTagArray* columns, ULONG) override {
    return Enter<Call::IMAPITable_SetColumns>(GetPhone(), [&] {
      if (columns == nullptr || columns->cValues == 0) return E_INVALIDARG;
      m_columns.emplace(columns->aulPropTag, columns->aulPropTag + columns->cValues);
      return S_OK;
    });
  }

  // Sorting begins at the first row again.
  HRESULT SortTable(const ce::SSortOrderSet* order, ULONG) override {
    return Enter<Call::IMAPITable_SortTable>(GetPhone(), [&] {
      if (order == nullptr) return E_INVALIDARG;
      const bool byTime =
          order->cSorts == 1 && order->cCategories == 0 && order->aSort[0].ulPropTag == ce::PR_MESSAGE_DELIVERY_TIME;
      if (!byTime || !m_source.sorts) return MAPI_E_TOO_COMPLEX;
      m_order =
          order->aSort[0].ulOrder == ce::TABLE_SORT_DESCEND ? MessageOrder::kNewestFirst : MessageOrder::kOldestFirst;
      m_ids.reset();
      m_next = 0;
      return S_OK;
    });
  }

  HRESULT QueryRows(LONG count, ULONG, ce::SRowSet** rows) override {
    return Enter<Call::IMAPITable_QueryRows>(GetPhone(), [&] {
      if (rows == nullptr || count <= 0 || count > kMostRowsAtOnce) return E_INVALIDARG;
      *rows = nullptr;
      if (!m_ids) m_ids = m_source.ids(m_order);
      std::vector<Properties> read;
      for (; m_next < m_ids->size() && std::cmp_less(read.size(), count); ++m_next) {
        read.push_back(m_source.read((*m_ids)[m_next]));
      }
      *rows = NewRowSet(GetPhone(), read, m_columns);
      return S_OK;
    });
  }

  HRESULT GetLastError(HRESULT, ULONG, ce::MAPIERROR**) override { return kNoSupport; }
  HRESULT Advise(ULONG, ce::IMAPIAdviseSink*, ULONG*) override { return kNoSupport; }
  HRESULT Unadvise(ULONG) override { return kNoSupport; }
  HRESULT GetStatus(ULONG*, ULONG*) override { return kNoSupport; }
  HRESULT QueryColumns(ULONG, ce::SPropTagArray**) override { return kNoSupport; }
  HRESULT GetRowCount(ULONG, ULONG*) override { return kNoSupport; }
  HRESULT SeekRow(ULONG, LONG, LONG*) override { return kNoSupport; }
  HRESULT SeekRowApprox(ULONG, ULONG) override { return kNoSupport; }
  HRESULT QueryPosition(ULONG*, ULONG*, ULONG*) override { return kNoSupport; }
  HRESULT FindRow(ce::SRestriction*, ULONG, ULONG) override { return kNoSupport; }
  HRESULT Restrict(ce::SRestriction*, ULONG) override { return kNoSupport; }
  HRESULT CreateBookmark(ULONG*) override { return kNoSupport; }
  HRESULT FreeBookmark(ULONG) override { return kNoSupport; }
  HRESULT QuerySortOrder(ce::SSortOrderSet**) override { return kNoSupport; }
  HRESULT Abort() override { return kNoSupport; }
  HRESULT ExpandRow(ULONG, BYTE*, ULONG, ULONG, ce::SRowSet**, ULONG*) override { return kNoSupport; }
  HRESULT CollapseRow(ULONG, BYTE*, ULONG, ULONG*) override { return kNoSupport; }
  HRESULT WaitForCompletion(ULONG, ULONG, ULONG*) override { return kNoSupport; }
  HRESULT GetCollapseState(ULONG, ULONG, BYTE*, ULONG*, BYTE**) override { return kNoSupport; }
  HRESULT SetCollapseState(ULONG, ULONG, BYTE*, ULONG*) override { return kNoSupport; }

 private:
  TableSource m_source;
  std::optional<std::vector<ULONG>> m_columns;
  MessageOrder m_order = MessageOrder::kArrival;
  std::optional<std::vector<std::int64_t>> m_ids;
  std::size_t m_next = 0;
};

}  // namespace

ce::IMAPITable* NewTable(Phone& phone, TableSource source) { return new Table(phone, std::move(source)); }

}  // namespace handset
