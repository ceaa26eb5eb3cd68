#include "fakes/SimulatedSession.h"
#include "views/AppActionRow.h"
#include "views/AppsListAccessible.h"
#include "views/AppsListActions.h"
#include "views/AppsListView.h"
#include "views/SelectionBar.h"

#include <QAccessible>
#include <QApplication>
#include <QItemSelectionModel>
#include <QLineEdit>
#include <QListView>
#include <QTest>
#include <QVBoxLayout>

namespace {

const QString editor = QStringLiteral("org.example.Editor");
const QString mail = QStringLiteral("org.example.Mail");
const QString notes = QStringLiteral("org.example.Notes");
const QString terminal = QStringLiteral("org.example.Terminal");

QString describe(const QAccessibleInterface *iface) {
    switch (iface->role()) {
    case QAccessible::Heading:
        return "heading " + iface->text(QAccessible::Name);
    case QAccessible::ListItem:
        return "item " + iface->text(QAccessible::Name);
    case QAccessible::StaticText:
        return "text " + iface->text(QAccessible::Name);
    default:
        return "other " + iface->text(QAccessible::Name);
    }
}

// The list in a window with a search field above it and another list beside it. Installed:
// Editor, Mail and Notes; running: Mail and Terminal, which refuse to quit so that the log tells
// the requests apart.
struct Fixture {
    SimulatedSession session;
    std::shared_ptr<FakeRunningApplication> mailApp;
    std::shared_ptr<FakeRunningApplication> terminalApp;
    std::optional<AppsListActions> actions;
    QWidget window;
    QLineEdit *searchField = nullptr;
    AppsListView *view = nullptr;
    QListView *list = nullptr;
    QListView *otherList = nullptr;

    bool start() {
        session.install(editor, "Editor");
        session.install(mail, "Mail");
        session.install(notes, "Notes");
        if (!session.loadCatalog())
            return false;
        mailApp = session.launch(mail, "Mail", 10);
        terminalApp = session.launch(terminal, "Terminal", 11);
        mailApp->acceptsTerminate = terminalApp->acceptsTerminate = false;
        session.workspace.onOpen = [this](const QString &path) {
            session.log.lines << "open " + path;
        };
        actions.emplace(session.workspace, session.usage, session.bundles, session.time,
                        session.log);
        searchField = new QLineEdit(&window);
        view = new AppsListView(session.monitor, session.catalog, session.usage, session.icons,
                                *actions, session.bundles, &window);
        list = view->listView();
        otherList = new QListView(&window);
        auto *layout = new QVBoxLayout(&window);
        layout->addWidget(searchField);
        layout->addWidget(view, 1);
        layout->addWidget(otherList);
        QObject::connect(searchField, &QLineEdit::textChanged, view, &AppsListView::setSearchText);
        window.resize(460, 700);
        window.show();
        QApplication::setActiveWindow(&window);
        return QTest::qWaitForWindowActive(&window);
    }

    QAccessibleInterface *accessibleList() const {
        return QAccessible::queryAccessibleInterface(list);
    }
    // The list's children as a screen reader finds them, asked afresh.
    QStringList children() const {
        QAccessibleInterface *rows = accessibleList();
        QStringList described;
        for (int i = 0; i < rows->childCount(); ++i)
            described << describe(rows->child(i));
        return described;
    }
    QAccessibleInterface *row(const QString &name) const {
        QAccessibleInterface *rows = accessibleList();
        for (int i = 0; i < rows->childCount(); ++i)
            if (rows->child(i)->text(QAccessible::Name) == name)
                return rows->child(i);
        return nullptr;
    }
    QAccessibleInterface *checkbox(const QString &name) const {
        QAccessibleInterface *item = row(name);
        return item ? item->child(0) : nullptr;
    }
    QAccessibleInterface *button(const QString &name) const {
        QAccessibleInterface *item = row(name);
        return item ? item->child(1) : nullptr;
    }
    QRect onScreen(const QRect &inViewport) const {
        return {list->viewport()->mapToGlobal(inViewport.topLeft()), inViewport.size()};
    }
};

// Runs the control's action; false when there is no such control.
[[nodiscard]] bool act(QAccessibleInterface *control, const QString &action) {
    if (!control || !control->actionInterface())
        return false;
    control->actionInterface()->doAction(action);
    return true;
}

const QString &toggle = QAccessibleActionInterface::toggleAction();
const QString &press = QAccessibleActionInterface::pressAction();

} // namespace

class AppsListAccessibilityTest : public QObject {
    Q_OBJECT

private slots:
    void rowsAreHeadingsAndItemsWithACheckboxAndAButton() {
        Fixture f;
        QVERIFY(f.start());
        QAccessibleInterface *list = f.accessibleList();
        QCOMPARE(list->role(), QAccessible::List);
        QCOMPARE(f.children(), (QStringList{"heading Running", "item Mail", "item Terminal",
                                            "heading Not Running", "item Editor", "item Notes"}));
        // Only the application list answers this way; other lists keep Qt's own interface.
        QVERIFY(dynamic_cast<AppsListAccessible *>(list));
        QVERIFY(!dynamic_cast<AppsListAccessible *>(
            QAccessible::queryAccessibleInterface(f.otherList)));

        const QHash<QString, QString> buttons{{"Mail", "Quit Mail"},
                                              {"Terminal", "Quit Terminal"},
                                              {"Editor", "Open Editor"},
                                              {"Notes", "Open Notes"}};
        for (int i = 0; i < list->childCount(); ++i) {
            QAccessibleInterface *row = list->child(i);
            QCOMPARE(list->child(i), row); // asked again, the same interface
            QCOMPARE(row->parent(), list);
            QCOMPARE(list->indexOfChild(row), i);
            const QModelIndex index = f.list->model()->index(i, 0);
            QCOMPARE(row->rect(), f.onScreen(f.list->visualRect(index)));
            QCOMPARE(list->childAt(row->rect().center().x(), row->rect().center().y()), row);
            if (row->role() != QAccessible::ListItem) {
                QCOMPARE(row->childCount(), 0);
                continue;
            }
            const QString name = row->text(QAccessible::Name);
            QVERIFY(row->state().checkable && !row->state().checked);
            QCOMPARE(row->childCount(), 2);
            const AppActionRow::Geometry g = f.view->rowDelegate()->geometry(*f.list, index);

            QAccessibleInterface *checkbox = row->child(0);
            QCOMPARE(checkbox->role(), QAccessible::CheckBox);
            QCOMPARE(checkbox->text(QAccessible::Name), name);
            QVERIFY(checkbox->state().checkable && !checkbox->state().checked);
            QCOMPARE(checkbox->actionInterface()->actionNames(), QStringList{toggle});
            QCOMPARE(checkbox->parent(), row);
            QCOMPARE(row->indexOfChild(checkbox), 0);
            QCOMPARE(checkbox->rect(), f.onScreen(g.checkbox));
            const QPoint inCheckbox = checkbox->rect().center();
            QCOMPARE(row->childAt(inCheckbox.x(), inCheckbox.y()), checkbox);

            QAccessibleInterface *button = row->child(1);
            QCOMPARE(button->role(), QAccessible::PushButton);
            QCOMPARE(button->text(QAccessible::Name), buttons.value(name));
            QVERIFY(!button->state().disabled);
            QCOMPARE(button->actionInterface()->actionNames(), QStringList{press});
            QCOMPARE(button->parent(), row);
            QCOMPARE(row->indexOfChild(button), 1);
            QCOMPARE(button->rect(), f.onScreen(g.action));
            const QPoint inButton = button->rect().center();
            QCOMPARE(row->childAt(inButton.x(), inButton.y()), button);
        }
    }

    void checkboxActionTicksTheRowAndNotTheViewsSelection() {
        Fixture f;
        QVERIFY(f.start());
        QAccessibleInterface *checkbox = f.checkbox("Mail");
        QVERIFY(act(checkbox, toggle));
        QCOMPARE(f.actions->selectedIDs(), QSet{mail});
        QVERIFY(checkbox->state().checked);
        QVERIFY(f.row("Mail")->state().checked);
        QVERIFY(f.view->selectionBar()->isVisible());
        QVERIFY(!f.list->selectionModel()->hasSelection());
        QVERIFY(!f.list->currentIndex().isValid());

        QVERIFY(act(f.checkbox("Mail"), toggle));
        QVERIFY(f.actions->selectedIDs().isEmpty());
        QVERIFY(!f.checkbox("Mail")->state().checked);
        // The checkbox's action is to toggle; pressing it as a button does nothing.
        QVERIFY(act(f.checkbox("Mail"), press));
        QVERIFY(f.actions->selectedIDs().isEmpty());
        QCOMPARE(f.mailApp->terminateCalls, 0);
    }

    void buttonActionRunsTheRowsActionAndIsDisabledWhileBusy_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("buttonName");
        QTest::addColumn<QStringList>("log");
        QTest::newRow("quit") << "Terminal"
                              << "Quit Terminal"
                              << QStringList{"Quellory: terminate() refused for "
                                             "org.example.Terminal pid=11",
                                             "Quellory: no terminate sent for org.example.Terminal "
                                             "(sandboxed builds cannot quit other apps)"};
        QTest::newRow("open") << "Notes"
                              << "Open Notes"
                              << QStringList{"open " + SimulatedSession::pathOf(notes)};
    }
    void buttonActionRunsTheRowsActionAndIsDisabledWhileBusy() {
        QFETCH(QString, name);
        QFETCH(QString, buttonName);
        QFETCH(QStringList, log);
        Fixture f;
        QVERIFY(f.start());
        QVERIFY(act(f.checkbox(name), toggle));
        QVERIFY(act(f.button(name), press));
        QCOMPARE(f.session.log.lines, log);
        QCOMPARE(f.actions->busyIDs().size(), 1);
        // The row's action deselects it.
        QVERIFY(f.actions->selectedIDs().isEmpty());

        // A spinner stands where the button was: it stays, disabled, with nothing to press.
        QAccessibleInterface *button = f.button(name);
        QCOMPARE(button->text(QAccessible::Name), buttonName);
        QVERIFY(button->state().disabled);
        QVERIFY(f.row(name)->state().busy);
        QVERIFY(button->actionInterface()->actionNames().isEmpty());
        QVERIFY(act(button, press));
        QCOMPARE(f.session.log.lines, log);
        // The checkbox still works.
        QVERIFY(act(f.checkbox(name), toggle));
        QCOMPARE(f.actions->selectedIDs().size(), 1);
        QVERIFY(f.checkbox(name)->state().checked);
    }

    void buttonComesBackWhenTheRowIsNoLongerBusy() {
        Fixture f;
        QVERIFY(f.start());
        QVERIFY(act(f.button("Terminal"), press));
        QVERIFY(f.button("Terminal")->state().disabled);
        f.session.time.advance(1.5);
        QVERIFY(!f.button("Terminal")->state().disabled);
        QCOMPARE(f.button("Terminal")->actionInterface()->actionNames(), QStringList{press});
        QVERIFY(act(f.button("Terminal"), press));
        QCOMPARE(f.terminalApp->terminateCalls, 2);
    }

    void rowsThatGoAreDroppedAndRowsThatStayKeepTheirInterface() {
        Fixture f;
        QVERIFY(f.start());
        const QAccessible::Id installedRow = QAccessible::uniqueId(f.row("Editor"));
        const QAccessible::Id installedButton = QAccessible::uniqueId(f.button("Editor"));
        QAccessibleInterface *mailRow = f.row("Mail");

        // Editor starts: its installed row goes and a running one comes.
        const auto editorApp = f.session.launch(editor, "Editor", 12);
        QCOMPARE(f.children(), (QStringList{"heading Running", "item Editor", "item Mail",
                                            "item Terminal", "heading Not Running", "item Notes"}));
        QVERIFY(!QAccessible::accessibleInterface(installedRow));
        QVERIFY(!QAccessible::accessibleInterface(installedButton));
        QCOMPARE(f.button("Editor")->text(QAccessible::Name), "Quit Editor");
        QCOMPARE(f.row("Mail"), mailRow);
        QCOMPARE(f.accessibleList()->indexOfChild(mailRow), 2);

        const QAccessible::Id runningRow = QAccessible::uniqueId(f.row("Editor"));
        f.session.end(editorApp);
        QVERIFY(!QAccessible::accessibleInterface(runningRow));
        QCOMPARE(f.button("Editor")->text(QAccessible::Name), "Open Editor");
        QCOMPARE(f.row("Mail"), mailRow);
        QCOMPARE(f.accessibleList()->indexOfChild(mailRow), 1);
    }

    void movedRowKeepsItsInterface() {
        Fixture f;
        QVERIFY(f.start());
        QAccessibleInterface *notesRow = f.row("Notes");
        QAccessibleInterface *notesCheckbox = f.checkbox("Notes");
        QCOMPARE(f.accessibleList()->indexOfChild(notesRow), 5);
        // Opening Notes counts a use of it, which ranks it first among the installed.
        QVERIFY(act(f.button("Notes"), press));
        QCOMPARE(f.children(), (QStringList{"heading Running", "item Mail", "item Terminal",
                                            "heading Not Running", "item Notes", "item Editor"}));
        QCOMPARE(f.row("Notes"), notesRow);
        QCOMPARE(f.checkbox("Notes"), notesCheckbox);
        QCOMPARE(f.accessibleList()->indexOfChild(notesRow), 4);
        QCOMPARE(notesRow->rect(), f.onScreen(f.list->visualRect(f.list->model()->index(4, 0))));
    }

    void searchReplacesTheRowsWithTheEmptyListText() {
        Fixture f;
        QVERIFY(f.start());
        const QAccessible::Id mailRow = QAccessible::uniqueId(f.row("Mail"));
        QTest::keyClicks(f.searchField, "zz");
        QCOMPARE(f.children(), QStringList{"text No results for \"zz\""});
        QVERIFY(!QAccessible::accessibleInterface(mailRow));
        QAccessibleInterface *emptyList = f.accessibleList()->child(0);
        QCOMPARE(emptyList->childCount(), 0);
        QTest::keyClick(f.searchField, Qt::Key_Z);
        QCOMPARE(f.accessibleList()->child(0), emptyList);
        QCOMPARE(emptyList->text(QAccessible::Name), "No results for \"zzz\"");

        f.searchField->clear();
        QCOMPARE(f.children().size(), 6);
        QVERIFY(QAccessible::uniqueId(f.row("Mail")) != mailRow);
    }

    void focusIsOnTheCurrentRowAndSpaceTicksIt() {
        Fixture f;
        QVERIFY(f.start());
        QVERIFY(!f.accessibleList()->focusChild());
        f.searchField->setFocus();
        QTest::keyClick(f.searchField, Qt::Key_Tab);
        QTest::keyClick(f.list, Qt::Key_Down);
        QCOMPARE(f.list->currentIndex().data().toString(), "Terminal");
        QCOMPARE(f.accessibleList()->focusChild(), f.row("Terminal"));
        QVERIFY(f.row("Terminal")->state().focused);
        QVERIFY(!f.row("Mail")->state().focused);
        QCOMPARE(f.checkbox("Terminal")->actionInterface()->keyBindingsForAction(toggle),
                 QStringList{"Space"});

        QTest::keyClick(f.list, Qt::Key_Space);
        QVERIFY(f.row("Terminal")->state().checked);
        QVERIFY(f.checkbox("Terminal")->state().checked);
    }

    void registeredInterfacesGoWithTheList() {
        auto f = std::make_unique<Fixture>();
        QVERIFY(f->start());
        const QAccessible::Id list = QAccessible::uniqueId(f->accessibleList());
        const QAccessible::Id row = QAccessible::uniqueId(f->row("Mail"));
        const QAccessible::Id checkbox = QAccessible::uniqueId(f->checkbox("Mail"));
        const QAccessible::Id button = QAccessible::uniqueId(f->button("Notes"));
        f->session.launch(editor, "Editor", 12);
        delete f->view;
        for (const QAccessible::Id id : {list, row, checkbox, button})
            QVERIFY(!QAccessible::accessibleInterface(id));
        // The session goes on changing after the view has gone.
        f->session.launch(notes, "Notes", 13);
        f.reset();
    }
};

QTEST_MAIN(AppsListAccessibilityTest)
#include "tst_appslistaccessibility.moc"
