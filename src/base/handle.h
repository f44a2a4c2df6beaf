// Handles of C interfaces as owners.
#pragma once

namespace auspool {

// For std::unique_ptr: destroys by a function.
template <auto kDestroy>
struct DestroyWith {
  template <typename T>
  void operator()(T *handle) const {
    kDestroy(handle);
  }
};

}  // namespace auspool
