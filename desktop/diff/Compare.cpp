#include "desktop/diff/Compare.h"

#include <fmt/format.h>

#include "desktop/diff/ItemStore.h"

namespace brelix::diff {
namespace {

// Of these the phone itself is the reason, and its other domains may well be there.
bool OnlyThisDomain(Exit code) {
  return code == Exit::kPhoneError || code == Exit::kRefused || code == Exit::kProtocol;
}

// How many items could not be read.
size_t ReadSide(const Domain& domain, const Side& side, const ReadOptions& options, const CompareWatch& watch,
                const TakeItem& take) {
  size_t unread = 0;
  watch.begin(domain, side);
  const std::string address = side.session->address() + ": ";  // which some texts begin with, and the name says
  const auto complain = [&](const std::string& what) {
    unread++;
    watch.complain(fmt::format("{}: {}: {}", side.name, domain.name,
                               what.starts_with(address) ? what.substr(address.size()) : what));
  };
  try {
    domain.read(*side.session, options, {complain, watch.step}, take);
  } catch (const Failure& failure) {
    if (!OnlyThisDomain(failure.code())) throw;
    complain(failure.what());
  }
  return unread;
}

}  // namespace

Outcome Compare(const Domain& domain, const Side& first, const Side& second, const ReadOptions& options,
                const CompareWatch& watch) {
  Outcome outcome;
  const auto tell = [&](Change change, Item item, std::vector<FieldDifference> fields) {
    outcome.differences++;
    watch.tell({&domain, change, std::move(item), std::move(fields)});
  };
  ItemStore before;
  const size_t unread_before = ReadSide(domain, first, options, watch, [&](const Item& item) { before.Add(item); });
  const size_t unread_after = ReadSide(domain, second, options, watch, [&](Item item) {
    const std::optional<Item> old = before.Take(item);
    if (!old && unread_before > 0) return;
    std::vector<FieldDifference> fields = FieldDifferences(old ? old->fields : std::vector<Field>{}, item.fields);
    if (!old)
      tell(Change::kAdded, std::move(item), std::move(fields));
    else if (!fields.empty())
      tell(Change::kChanged, std::move(item), std::move(fields));
  });
  if (unread_after == 0)
    before.Rest([&](Item item) {
      std::vector<FieldDifference> fields = FieldDifferences(item.fields, {});
      tell(Change::kGone, std::move(item), std::move(fields));
    });
  outcome.unread = unread_before + unread_after;
  return outcome;
}

}  // namespace brelix::diff
