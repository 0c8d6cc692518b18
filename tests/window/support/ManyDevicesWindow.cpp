// The window over a MIDI service with a given number of devices, for tests from outside; the demo service has only
// three. Inputs have the IDs 1, 2, 3 and so on, outputs 1001 and up. The first argument is the number of devices, the
// second the document, and the third, if given, the input that plays all the time.

#include "app/InMemorySettings.hpp"
#include "app/MIDIRouterViewModel.hpp"
#include "core/engine/CoreMIDIRouterEngine.hpp"
#include "core/storage/RouteStore.hpp"
#include "tests/support/FakeMIDIHost.hpp"
#include "tests/support/ManualQueue.hpp"
#include "ui/CorvelApp.hpp"

#include <QApplication>
#include <QTimer>

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

int main(int argumentCount, char** arguments) {
    using namespace corvel;
    constexpr std::int32_t kFirstOutput = 1000;
    constexpr std::chrono::milliseconds kQueueInterval(5);
    constexpr std::chrono::milliseconds kNoteInterval(60);
    const QApplication application(argumentCount, arguments);
    QApplication::setApplicationName(QStringLiteral("Corvel"));
    const auto host = std::make_shared<tests::FakeMIDIHost>();
    for (std::int32_t number = 1; number <= std::stoi(arguments[1]); ++number) {
        const std::string name = (number < 10 ? "0" : "") + std::to_string(number);
        const std::int32_t output = kFirstOutput + number;
        host->addSource(static_cast<MIDIObjectRef>(number), {.displayName = "Input " + name, .uniqueID = number});
        host->addDestination(static_cast<MIDIObjectRef>(output), {.displayName = "Output " + name, .uniqueID = output});
    }
    const auto queue = std::make_shared<tests::ManualQueue>();
    const auto mainQueue = std::make_shared<tests::ManualQueue>(tests::ManualQueue::Current::onMakerThread);
    const std::shared_ptr<const Clock> clock = makeSystemClock();
    const auto engine = CoreMIDIRouterEngine::create(host, queue, mainQueue, clock);
    const auto settings = std::make_shared<InMemorySettings>();
    const auto model =
        MIDIRouterViewModel::create(engine, std::make_shared<RouteStore>(arguments[2]), settings, clock, mainQueue);
    QTimer drain;
    QObject::connect(&drain, &QTimer::timeout, &drain, [&] {
        queue->runAll();
        mainQueue->runAll();
    });
    drain.start(kQueueInterval);
    QTimer player;
    if (argumentCount > 3) {
        const auto input = static_cast<MIDIObjectRef>(std::stoi(arguments[3]));
        QObject::connect(&player, &QTimer::timeout, &player, [&host, input] {
            host->receive({{0x90, 60, 100}}, input);
        });
        player.start(kNoteInterval);
    }
    ui::CorvelApp app(model, settings, clock, QString());
    app.start();
    return QApplication::exec();
}
