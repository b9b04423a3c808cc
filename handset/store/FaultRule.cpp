#include "handset/store/FaultRule.h"

#include <string_view>
#include <vector>

#include "handset/Errors.h"
#include "handset/store/NearMatch.h"

namespace handset {

namespace {

std::vector<std::string_view> CallNames() {
  std::vector<std::string_view> names;
  for (const CallInfo& info : kCalls) names.push_back(info.name);
  return names;
}

}  // namespace

Call CallOf(const FaultRule& rule) {
  const std::optional<Call> call = FindCall(rule.call);
  if (!call) {
    throw FaultError("there is no call \"" + rule.call + "\" of the phone" + NearMatches(rule.call, CallNames()));
  }
  const Reports reports = InfoOf(*call).reports;
  if (reports == Reports::Never) throw FaultError(rule.call + " cannot fail");
  if (reports == Reports::Null && rule.result.value_or(0) != 0) {
    throw FaultError(rule.call + " fails without a code: leave the result out");
  }
  return *call;
}

}  // namespace handset
