// Reference-counted objects whose references may be Nil.
//
// Nil is a normal value: many fields and results are Nil in everyday operation. Using a Nil reference as an
// object throws in every build type.
#pragma once

#include <cstddef>
#include <exception>
#include <memory>
#include <type_traits>
#include <typeinfo>
#include <utility>

namespace tollmere {

// An error of the running program. what() is the error's name; a process that ends because of it
// prints that name.
class RuntimeException : public std::exception {};

// A Nil reference was used as an object.
class NilObjectException final : public RuntimeException {
 public:
  const char* what() const noexcept override { return "NilObjectException"; }
};

// An object was cast to a class that it does not belong to.
class IllegalCastException final : public RuntimeException {
 public:
  const char* what() const noexcept override { return "IllegalCastException"; }
};

// Base of everything that a Variant can refer to. Objects have an identity and are not copied.
class Object {
 public:
  virtual ~Object() = default;
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;

 protected:
  Object() = default;
};

// A counted reference to a T, or Nil. `->` and `*` throw NilObjectException on Nil. Copies share the
// object. A Ref<T> converts to a Ref of a base class; Cast goes the other way.
template <class T>
class Ref {
 public:
  constexpr Ref() noexcept = default;
  constexpr Ref(std::nullptr_t) noexcept {}  // NOLINT(google-explicit-constructor): Nil is a value.
  explicit Ref(std::shared_ptr<T> pointer) noexcept : pointer_(std::move(pointer)) {}

  // As pointers convert.
  template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
  Ref(Ref<U> other) noexcept : pointer_(std::move(other).Pointer()) {}

  T* operator->() const { return Checked(); }
  T& operator*() const { return *Checked(); }

  // The bare pointer, null for Nil. It does not keep the object alive.
  T* Get() const noexcept { return pointer_.get(); }
  const std::shared_ptr<T>& Pointer() const& noexcept { return pointer_; }
  std::shared_ptr<T>&& Pointer() && noexcept { return std::move(pointer_); }

  bool operator==(std::nullptr_t) const noexcept { return pointer_ == nullptr; }
  // Identity: both refer to the same object, or both are Nil.
  bool operator==(const Ref& other) const noexcept { return pointer_ == other.pointer_; }

 private:
  T* Checked() const {
    if (pointer_ == nullptr) [[unlikely]] {
      throw NilObjectException();
    }
    return pointer_.get();
  }

  std::shared_ptr<T> pointer_;
};

// A new object.
template <class T, class... Arguments>
Ref<T> New(Arguments&&... arguments) {
  return Ref<T>(std::make_shared<T>(std::forward<Arguments>(arguments)...));
}

// True when `reference` is an object of class T or of a subclass of it. Nil is of no class.
template <class T, class U>
bool IsA(const Ref<U>& reference) noexcept {
  const U* object = reference.Get();
  if (object == nullptr) {
    return false;
  }
  if constexpr (std::is_final_v<T>) {
    // Cheaper than a search through the bases. Of different types == would compare the names, too.
    return &typeid(*object) == &typeid(T);
  } else {
    return dynamic_cast<const T*>(object) != nullptr;
  }
}

// The same object seen as a T. Nil gives Nil; an object of another class throws IllegalCastException.
template <class T, class U>
Ref<T> Cast(const Ref<U>& reference) {
  if (reference == nullptr) {
    return nullptr;
  }
  if (!IsA<T>(reference)) {
    throw IllegalCastException();
  }
  return Ref<T>(std::static_pointer_cast<T>(reference.Pointer()));
}

// The object seen as a T, or null when it is none. The pointer does not keep the object alive.
template <class T, class U>
const T* If(const Ref<U>& reference) noexcept {
  return IsA<T>(reference) ? static_cast<const T*>(reference.Get()) : nullptr;
}

}  // namespace tollmere
