#include "raw/raw_driver.h"

namespace bench {

RawDriver::RawDriver(RawClient& client)
    : m_thread([this, &client] {
          while (!m_stop)
              client.iterate(1000);
      }) {}

RawDriver::~RawDriver() {
    m_stop = true;
    m_thread.join();
}

} // namespace bench
