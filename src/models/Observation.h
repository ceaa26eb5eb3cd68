#pragma once

#include "Scheduler.h"

#include <functional>
#include <QList>
#include <QObject>

// One observable property: an object and the signal it emits when the property's value changes.
class ObservedProperty {
public:
    template <typename Object, typename... Args>
    ObservedProperty(Object *object, void (Object::*changed)(Args...)) : m_object(object) {
        m_connect = [object, changed](QObject *receiver, std::function<void()> slot) {
            return QObject::connect(object, changed, receiver,
                                    [slot = std::move(slot)] { slot(); });
        };
    }

    QObject *object() const { return m_object; }
    QMetaObject::Connection connect(QObject *receiver, std::function<void()> slot) const {
        return m_connect(receiver, std::move(slot));
    }

private:
    QObject *m_object;
    std::function<QMetaObject::Connection(QObject *, std::function<void()>)> m_connect;
};

// Following observable models: a reaction runs after a change, once however many changes came
// together.
class Observation {
public:
    // Calls onChange once, at the next change of any of the properties, then stops watching.
    static void once(const QList<ObservedProperty> &properties, std::function<void()> onChange);

    // After each change of the properties, runs the reaction on a later main-thread turn with the
    // new values in place, then watches again. Changes that come before the reaction has run
    // cause one reaction. Nothing runs once the owner is gone.
    static void rearming(QObject *owner, Scheduler &scheduler,
                         const QList<ObservedProperty> &properties, std::function<void()> reaction);
};
