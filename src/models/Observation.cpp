#include "Observation.h"

#include <QPointer>

namespace {

// Holds the connections of one pending observation; it goes away with its first change, or with
// the observed object.
class PendingObservation final : public QObject {
public:
    using QObject::QObject;

    void fire(const std::function<void()> &onChange) {
        if (m_fired)
            return;
        m_fired = true;
        for (const auto &connection : m_connections)
            QObject::disconnect(connection);
        deleteLater();
        onChange();
    }

    QList<QMetaObject::Connection> m_connections;

private:
    bool m_fired = false;
};

} // namespace

void Observation::once(const QList<ObservedProperty> &properties, std::function<void()> onChange) {
    if (properties.isEmpty())
        return;
    auto *pending = new PendingObservation(properties.first().object());
    for (const auto &property : properties)
        pending->m_connections.append(
            property.connect(pending, [pending, onChange] { pending->fire(onChange); }));
}

void Observation::rearming(QObject *owner, Scheduler &scheduler,
                           const QList<ObservedProperty> &properties,
                           std::function<void()> reaction) {
    QPointer<QObject> weakOwner(owner);
    once(properties, [weakOwner, &scheduler, properties, reaction] {
        if (!weakOwner)
            return;
        scheduler.post(weakOwner, [weakOwner, &scheduler, properties, reaction] {
            reaction();
            rearming(weakOwner, scheduler, properties, reaction);
        });
    });
}
