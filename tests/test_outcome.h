// Records how an adapter completed an asynchronous result: not at all, with a value, or with an
// error.
#pragma once

#include <memory>
#include <string>

#include <boost/optional.hpp>

#include "ostra/core/async_result.h"
#include "test_store.h"

namespace OstraTest {

template <class T>
struct Outcome {
  int calls = 0;
  boost::optional<T> value;
  std::shared_ptr<const Ostra::Data::ErrorValue> error;

  Ostra::AsyncResult<T> Result() {
    return Ostra::AsyncResult<T>(
        [this](const boost::optional<T>& v, const std::shared_ptr<const Ostra::Data::ErrorValue>& e,
               const std::shared_ptr<const Ostra::Data::NativeError>&, const Ostra::Progress&) {
          ++calls;
          value = v;
          error = e;
        });
  }
  // The only message of the error, "id: args", or a note that there is none.
  std::string Error() const { return error ? OnlyMessage(*error) : "(no error)"; }
};

}  // namespace OstraTest
