#pragma once

// Properties that read and assign like the old toolkit's (`picBase->Width = fraBox->Width`), so
// that handlers can be written line for line. A property is a small proxy that calls its owner's
// getter and setter; it holds no value of its own.

namespace toolkit {

template <class Owner, class T, T (Owner::*Get)() const, void (Owner::*Set)(T)>
class Property {
 public:
  explicit Property(Owner* owner) : m_owner(owner) {}
  Property(const Property&) = delete;

  operator T() const { return (m_owner->*Get)(); }  // NOLINT: implicit by design
  T operator()() const { return (m_owner->*Get)(); }

  Property& operator=(T value) {
    (m_owner->*Set)(value);
    return *this;
  }
  // Assigning one control's property to another's copies the value, not the proxy.
  Property& operator=(const Property& other) { return *this = other(); }

  Property& operator+=(T value) { return *this = (*this)() + value; }
  Property& operator-=(T value) { return *this = (*this)() - value; }

 private:
  Owner* m_owner;
};

template <class Owner, class T, T (Owner::*Get)() const>
class ReadOnlyProperty {
 public:
  explicit ReadOnlyProperty(Owner* owner) : m_owner(owner) {}
  ReadOnlyProperty(const ReadOnlyProperty&) = delete;
  ReadOnlyProperty& operator=(const ReadOnlyProperty&) = delete;

  operator T() const { return (m_owner->*Get)(); }  // NOLINT: implicit by design
  T operator()() const { return (m_owner->*Get)(); }

 private:
  Owner* m_owner;
};

}  // namespace toolkit
