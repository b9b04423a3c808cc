// Calls between the phone's library and this program, typed by the declarations themselves: arguments are read from and
// written to one row of 32-bit words, in order and without gaps, which is all there is to the phone's convention.
// Nothing is split by hand, so a 64-bit argument is an ordinary one on either side.
#pragma once

#include <cstdint>
#include <cstring>
#include <tuple>
#include <type_traits>

namespace crossing {

// What a stub leads to.
struct Entry {
  std::uint64_t (*run)(const Entry& entry, const std::uint32_t* words);
  const void* target;
  const char* name;
};

// Executable code that runs the entry with the caller's words. It lives as long as the program, and so must the entry.
void* NewStub(const Entry* entry);

// How many bytes off an alignment of 8 the library's stacks are: 0 or 4, as on a phone.
void SetStackSkew(std::uint32_t skew);

// words has at least four, whatever count is.
std::uint64_t CallWords(const void* function, const std::uint32_t* words, std::uint32_t count);

// One argument on its way from the library, as a value of its type. Other headers specialise it for arguments that are
// something else on the other side; it is destroyed after the call.
template <class Type, bool kNamesInterface>
class Argument {
 public:
  explicit Argument(const std::uint32_t*& words) {
    static_assert(std::is_trivially_copyable_v<Type>);
    std::memcpy(&m_value, words, sizeof m_value);
    words += (sizeof m_value + 3) / 4;
  }
  Type Get() { return m_value; }

 private:
  Type m_value;
};

template <class Type, bool kNamesInterface>
class Argument<Type&, kNamesInterface> {
 public:
  explicit Argument(const std::uint32_t*& words) : m_value(reinterpret_cast<Type*>(*words++)) {}
  Type& Get() { return *m_value; }

 private:
  Type* m_value;
};

template <class Result>
std::uint64_t ToRegisters(Result result) {
  static_assert(!std::is_class_v<Result> && sizeof(Result) <= 8, "no record is returned across the boundary");
  if constexpr (std::is_integral_v<Result> && sizeof(Result) < 4) {
    return static_cast<std::uint32_t>(result);
  } else {
    std::uint64_t registers = 0;
    std::memcpy(&registers, &result, sizeof result);
    return registers;
  }
}

// Calls function with the arguments in the row.
template <bool kNamesInterface, class Result, class... Parameters, class Function>
std::uint64_t Forward(Function&& function, [[maybe_unused]] const std::uint32_t* words) {
  std::tuple<Argument<Parameters, kNamesInterface>...> arguments{
      Argument<Parameters, kNamesInterface>(words)...};  // in order: braces
  const auto call = [&](auto&... argument) { return function(argument.Get()...); };
  if constexpr (std::is_void_v<Result>) {
    std::apply(call, arguments);
    return 0;
  } else {
    return ToRegisters<Result>(std::apply(call, arguments));
  }
}

// Calls a function of the library.
template <class Result, class... Parameters>
Result Call(const void* function, std::type_identity_t<Parameters>... arguments) {
  std::uint32_t words[4 + (0 + ... + ((sizeof(Parameters) + 3) / 4))] = {};
  std::uint32_t count = 0;
  [[maybe_unused]] const auto put = [&](auto argument) {
    static_assert(std::is_trivially_copyable_v<decltype(argument)> && sizeof argument >= 4);
    std::memcpy(words + count, &argument, sizeof argument);
    count += (sizeof argument + 3) / 4;
  };
  (put(arguments), ...);
  const std::uint64_t registers = CallWords(function, words, count);
  if constexpr (!std::is_void_v<Result>) {
    Result result;
    std::memcpy(&result, &registers, sizeof result);
    return result;
  }
}

// A function of the library that is handed over to be called back. Its stub is the same each time.
const void* CallbackStub(const void* function, std::uint64_t (*run)(const Entry&, const std::uint32_t*));

template <class Result, class... Parameters, bool kNamesInterface>
class Argument<Result (*)(Parameters...), kNamesInterface> {
 public:
  explicit Argument(const std::uint32_t*& words) : m_function(reinterpret_cast<const void*>(*words++)) {}
  auto Get() {
    static_assert(((sizeof(Parameters) == 4) && ...), "one word each: the same row in both conventions");
    return m_function == nullptr ? nullptr
                                 : reinterpret_cast<Result (*)(Parameters...)>(
                                       reinterpret_cast<std::uintptr_t>(CallbackStub(m_function, &Run)));
  }

 private:
  static std::uint64_t Run(const Entry& entry, const std::uint32_t* words) {
    return CallWords(entry.target, words, sizeof...(Parameters));
  }

  const void* m_function;
};

}  // namespace crossing
