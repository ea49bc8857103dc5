#include "tests/ui/atspi/file_portal.h"

#include <gio/gio.h>

#include <stdexcept>

#include "platform/posix/text.h"
#include "tests/support/deadline.h"

namespace quillgate::test {
namespace {

constexpr char kPath[] = "/org/freedesktop/portal/desktop";
constexpr char kInterfaces[] = R"(
  <node>
    <interface name="org.freedesktop.portal.FileChooser">
      <method name="OpenFile">
        <arg type="s" direction="in"/><arg type="s" direction="in"/>
        <arg type="a{sv}" direction="in"/><arg type="o" direction="out"/>
      </method>
      <method name="SaveFile">
        <arg type="s" direction="in"/><arg type="s" direction="in"/>
        <arg type="a{sv}" direction="in"/><arg type="o" direction="out"/>
      </method>
      <property name="version" type="u" access="read"/>
    </interface>
  </node>)";

// Answers what has come in.
void hear() {
  while (g_main_context_iteration(nullptr, FALSE)) {
  }
}

}  // namespace

struct FilePortal::Service {
  // Calls a method of the bus itself.
  GVariant* askBus(const char* interface, const char* name, GVariant* arguments) const {
    GError* error = nullptr;
    GVariant* reply = g_dbus_connection_call_sync(
        bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", interface, name, arguments, nullptr,
        G_DBUS_CALL_FLAGS_NONE, -1, nullptr, &error);
    if (reply == nullptr) throw std::runtime_error(error->message);
    return reply;
  }

  // Whether a program listens for what comes of the last request.
  [[nodiscard]] bool isListenedTo() const {
    GVariant* rules =
        askBus("org.freedesktop.DBus.Debug.Stats", "GetAllMatchRules", g_variant_new("()"));
    char* text = g_variant_print(rules, FALSE);
    const bool found = std::string_view(text).find("path='" + request + "'") != std::string::npos;
    g_free(text);
    g_variant_unref(rules);
    return found;
  }

  void respond(guint32 response, GVariantBuilder* results) const {
    g_dbus_connection_emit_signal(bus, nullptr, request.c_str(), "org.freedesktop.portal.Request",
                                  "Response", g_variant_new("(ua{sv})", response, results),
                                  nullptr);
  }

  static void answerCall(GDBusConnection* /*bus*/, const char* /*sender*/, const char* /*path*/,
                         const char* /*interface*/, const char* method, GVariant* /*arguments*/,
                         GDBusMethodInvocation* call, void* self) {
    auto& service = *static_cast<Service*>(self);
    service.request = kPath + ("/request/" + std::to_string(++service.requests));
    service.method = method;
    g_dbus_method_invocation_return_value(call, g_variant_new("(o)", service.request.c_str()));
  }

  // Programs use their own dialogs unless there is a version.
  static GVariant* readVersion(GDBusConnection* /*bus*/, const char* /*sender*/,
                               const char* /*path*/, const char* /*interface*/,
                               const char* /*property*/, GError** /*error*/, void* self) {
    static_cast<Service*>(self)->isKnown = true;
    return g_variant_new_uint32(3);
  }

  GDBusConnection* bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
  GDBusNodeInfo* node = g_dbus_node_info_new_for_xml(kInterfaces, nullptr);
  guint registration = 0;
  bool isKnown = false;
  int requests = 0;
  std::string method;   // of a request that nobody has waited for
  std::string request;  // the last one's path
};

FilePortal::FilePortal() : service_(std::make_unique<Service>()) {
  static constexpr GDBusInterfaceVTable kCalls{
      &Service::answerCall, &Service::readVersion, nullptr, {}};
  service_->registration =
      g_dbus_connection_register_object(service_->bus, kPath, service_->node->interfaces[0],
                                        &kCalls, service_.get(), nullptr, nullptr);
  g_variant_unref(service_->askBus("org.freedesktop.DBus", "RequestName",
                                   g_variant_new("(su)", "org.freedesktop.portal.Desktop", 0U)));
}

FilePortal::~FilePortal() {
  g_variant_unref(service_->askBus("org.freedesktop.DBus", "ReleaseName",
                                   g_variant_new("(s)", "org.freedesktop.portal.Desktop")));
  g_dbus_connection_unregister_object(service_->bus, service_->registration);
  g_dbus_node_info_unref(service_->node);
  g_object_unref(service_->bus);
}

bool FilePortal::waitUntilKnown() {
  return eventually([this] {
    hear();
    return service_->isKnown;
  });
}

std::string FilePortal::waitForRequest() {
  service_->method.clear();
  const bool came = eventually([this] {
    hear();
    return !service_->method.empty() && service_->isListenedTo();
  });
  return came ? service_->method : "";
}

void FilePortal::choose(const std::wstring& path) {
  char* uri = g_filename_to_uri(platform::toBytes(path).c_str(), nullptr, nullptr);
  GVariantBuilder uris;
  g_variant_builder_init(&uris, G_VARIANT_TYPE("as"));
  g_variant_builder_add(&uris, "s", uri);
  GVariantBuilder results;
  g_variant_builder_init(&results, G_VARIANT_TYPE("a{sv}"));
  g_variant_builder_add(&results, "{sv}", "uris", g_variant_builder_end(&uris));
  service_->respond(0, &results);
  g_free(uri);
}

void FilePortal::cancel() {
  GVariantBuilder results;
  g_variant_builder_init(&results, G_VARIANT_TYPE("a{sv}"));
  service_->respond(1, &results);
}

}  // namespace quillgate::test
