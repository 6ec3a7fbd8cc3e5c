// Signals of GObjects that lead to ours.
#pragma once

#include <glib-object.h>

#include <utility>

#include "browsers/Guarded.h"

namespace browsers {

/// Calls `handler` each time that the object sends the signal, which has no arguments. The connection owns the handler.
template <typename Handler>
void connectSignal(gpointer object, const char* signal, Handler handler) {
  struct Connection {
    static void call(gpointer, gpointer handler) {
      guarded([&] {
        const Handler copy = *static_cast<Handler*>(handler);  // the call may end the object
        copy();
      });
    }
    static void release(gpointer handler, GClosure*) { delete static_cast<Handler*>(handler); }
  };
  g_signal_connect_data(object, signal, G_CALLBACK(&Connection::call), new Handler(std::move(handler)), Connection::release,
                        GConnectFlags(0));
}

}  // namespace browsers
