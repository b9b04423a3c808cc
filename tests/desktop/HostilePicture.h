// Pictures that consist of what frames are made of.
#pragma once

#include <rapidcheck.h>

#include "desktop/FrameCodec.h"

namespace brelix::test {

inline rc::Gen<Bytes> HostilePicture() {
  const auto run = [](char letter, size_t least, size_t most) {
    return rc::gen::apply([letter](size_t count) { return Bytes(count, static_cast<uint8_t>(letter)); },
                          rc::gen::inRange<size_t>(least, most));
  };
  // A request to delete contact 1, in case the phone finds its start mark.
  const Bytes smuggled = BuildRequest(3, 11, Bytes{0, 0, 0, 1}, 0xF001);
  // Around a length field that ends in 5A, and around the size of a piece.
  const auto piece = rc::gen::oneOf(run('Z', 1, 40), run('X', 1, 10), run('j', 80, 100), run('j', 15300, 15700),
                                    rc::gen::just(smuggled), rc::gen::arbitrary<Bytes>());
  return rc::gen::map(rc::gen::container<std::vector<Bytes>>(piece), [](const std::vector<Bytes>& pieces) {
    Bytes all;
    for (const Bytes& each : pieces) all.insert(all.end(), each.begin(), each.end());
    return all;
  });
}

}  // namespace brelix::test
