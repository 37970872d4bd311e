#include "bench/BusPeer.h"

#include "bench/Echo.h"
#include "platform/Text.h"
#include "platform/linux/bus/BusNames.h"
#include "platform/linux/bus/BusValue.h"

#include <stdexcept>
#include <system_error>

namespace trigora::bench {

namespace {

namespace bus = platform::bus;

constexpr std::chrono::seconds longestWait(10);

int check(int result, const char* what) {
    if (result < 0) {
        throw std::system_error(-result, std::generic_category(), what);
    }
    return result;
}

} // namespace

BusPeer::BusPeer(const std::vector<std::string>& heardNames) {
    sd_bus* connection = nullptr;
    check(sd_bus_open_user(&connection), "the session bus");
    bus_.reset(connection);
    for (const std::string& name : heardNames) {
        const std::string rule = std::string("type='signal',interface='") + bus::notificationsInterface +
                                 "',member='" + bus::postedSignal + "',arg0='" + name + "'";
        check(sd_bus_add_match(connection, nullptr, rule.c_str(), heard, this), "AddMatch");
    }
}

bool BusPeer::isOnBus(const std::string& name) {
    return sd_bus_get_name_creds(bus_.get(), name.c_str(), 0, nullptr) >= 0;
}

void BusPeer::callEcho(const Data& payload) {
    sd_bus_message* made = nullptr;
    check(sd_bus_message_new_method_call(bus_.get(), &made, echo::name, echo::path, echo::interface,
                                         echo::method),
          "the call");
    const platform::BusMessagePointer call(made);
    check(sd_bus_message_append_array(made, 'y', payload.data(), payload.size()), "the payload");
    sd_bus_message* answer = nullptr;
    check(sd_bus_call(bus_.get(), made, 0, nullptr, &answer), "the echo");
    const platform::BusMessagePointer owned(answer);
}

void BusPeer::press(const Data& record) {
    sd_bus_message* made = nullptr;
    check(sd_bus_message_new_method_call(bus_.get(), &made, bus::agentName, bus::appleEventsPath,
                                         bus::appleEventsInterface, bus::sendMethod),
          "the event");
    const platform::BusMessagePointer event(made);
    check(sd_bus_message_append(made, "uu", platform::fourCharCode("PLsc"), platform::fourCharCode("OPtw")),
          "the event's kind");
    check(sd_bus_message_open_container(made, 'a', "(uuay)"), "the parameters");
    check(sd_bus_message_open_container(made, 'r', "uuay"), "the parameter");
    check(sd_bus_message_append(made, "uu", platform::fourCharCode("----"), platform::fourCharCode("****")),
          "the parameter's kind");
    check(sd_bus_message_append_array(made, 'y', record.data(), record.size()), "the record");
    check(sd_bus_message_close_container(made), "the parameter");
    check(sd_bus_message_close_container(made), "the parameters");
    ++unanswered_;
    check(sd_bus_call_async(bus_.get(), nullptr, made, answered, this, 0), "sending the event");
    check(sd_bus_flush(bus_.get()), "sending the event");
}

void BusPeer::waitForHandled() {
    work([this] { return unanswered_ == 0; });
}

void BusPeer::post(const std::string& name, const Dictionary& userInfo) {
    sd_bus_message* made = nullptr;
    check(sd_bus_message_new_signal(bus_.get(), &made, bus::notificationsPath, bus::notificationsInterface,
                                    bus::postedSignal),
          "the notification");
    const platform::BusMessagePointer message(made);
    check(sd_bus_message_append(made, "sb", name.c_str(), 1), "the notification's name");
    check(bus::appendDictionary(made, userInfo), "the user information");
    check(sd_bus_send(bus_.get(), made, nullptr), "posting");
    check(sd_bus_flush(bus_.get()), "posting");
}

Clock::time_point BusPeer::waitFor(const std::string& name) {
    lastHeard_.clear();
    work([&] { return lastHeard_ == name; });
    return lastHeardAt_;
}

int BusPeer::heard(sd_bus_message* message, void* peer, sd_bus_error*) {
    auto& self = *static_cast<BusPeer*>(peer);
    self.lastHeardAt_ = Clock::now();
    const char* name = nullptr;
    if (sd_bus_message_read(message, "s", &name) > 0) {
        self.lastHeard_ = name;
    }
    return 0;
}

int BusPeer::answered(sd_bus_message*, void* peer, sd_bus_error*) {
    --static_cast<BusPeer*>(peer)->unanswered_;
    return 0;
}

template <typename Condition> void BusPeer::work(const Condition& condition) {
    const Clock::time_point end = Clock::now() + longestWait;
    while (!condition()) {
        if (Clock::now() > end) {
            throw std::runtime_error("no answer on the bus; waited after \"" + lastHeard_ + "\"");
        }
        if (check(sd_bus_process(bus_.get(), nullptr), "the session bus") == 0) {
            check(sd_bus_wait(bus_.get(), 1000000), "the session bus");
        }
    }
}

} // namespace trigora::bench
