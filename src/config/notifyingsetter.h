#pragma once

// The setter of a notifying property: stores and signals only on a change.
// True when it changed.
template <class T, class U, class Owner>
bool SetAndNotify(T& member, U&& value, Owner* owner, void (Owner::*changed)())
{
    if (member == value)
        return false;
    member = static_cast<U&&>(value);
    (owner->*changed)();
    return true;
}
