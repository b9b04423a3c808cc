// The picture of a contact as a stream.
#pragma once

#include <memory>
#include <optional>

#include "handset/Text.h"
#include "platform/Com.h"

namespace handset {

struct Phone;

// What a contact and its open stream share.
struct PictureState {
  bool isOpen = false;
  // What the stream committed; it is stored with the contact.
  std::optional<Bytes> committed;
};

// A new stream with one reference, at the picture's first byte. Marks the picture as open for as long as it lives.
ce::IStream* NewPictureStream(Phone& phone, std::shared_ptr<PictureState> state, Bytes picture, bool writable);

}  // namespace handset
