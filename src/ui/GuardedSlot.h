#pragma once

#include <QObject>

#include <functional>
#include <tuple>
#include <utility>

namespace ui {

// Exceptions must not cross the toolkit's event loop. Every handler that may throw runs
// through here: what it throws is shown in a box (ui::showError, the text with an
// exclamation icon), the pointer goes back to normal and the window stays as it was, with
// what the user typed.

// Runs `work` now and reports what it throws. For handlers the toolkit calls directly
// (event handlers, event filters). Returns false when `work` threw.
bool runGuarded(const std::function<void()> &work);

namespace detail {

template <typename F>
struct SlotArgs : SlotArgs<decltype(&F::operator())> {};
template <typename R, typename C, typename... A>
struct SlotArgs<R (C::*)(A...)> {
    using Tuple = std::tuple<A...>;
};
template <typename R, typename C, typename... A>
struct SlotArgs<R (C::*)(A...) const> {
    using Tuple = std::tuple<A...>;
};
template <typename R, typename C, typename... A>
struct SlotArgs<R (C::*)(A...) noexcept> {
    using Tuple = std::tuple<A...>;
};
template <typename R, typename C, typename... A>
struct SlotArgs<R (C::*)(A...) const noexcept> {
    using Tuple = std::tuple<A...>;
};

// A functor taking exactly the slot's own arguments, so that the toolkit drops the
// signal's extra ones as it does for a plain slot.
template <typename Call, typename... A>
auto guardedCall(Call call, std::tuple<A...> *)
{
    return [call = std::move(call)](A... args) mutable {
        runGuarded([&] { call(std::forward<A>(args)...); });
    };
}

}  // namespace detail

// `slot` (a lambda or a function object of fixed arguments) wrapped so that what it
// throws is reported instead of leaving through the event loop.
template <typename Slot>
auto guarded(Slot slot)
{
    return detail::guardedCall(std::move(slot), static_cast<typename detail::SlotArgs<Slot>::Tuple *>(nullptr));
}

// connect() for a slot that may throw: a member function of `receiver`, or a functor.
template <typename Sender, typename Signal, typename Receiver, typename R, typename C, typename... A>
QMetaObject::Connection connectGuarded(Sender *sender, Signal signal, Receiver *receiver, R (C::*slot)(A...))
{
    auto call = [receiver, slot](A... args) { (receiver->*slot)(std::forward<A>(args)...); };
    return QObject::connect(sender, signal, receiver,
                            detail::guardedCall(std::move(call), static_cast<std::tuple<A...> *>(nullptr)));
}

template <typename Sender, typename Signal, typename Slot>
QMetaObject::Connection connectGuarded(Sender *sender, Signal signal, const QObject *context, Slot slot)
{
    return QObject::connect(sender, signal, context, guarded(std::move(slot)));
}

}  // namespace ui
