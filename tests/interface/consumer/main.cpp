#include <SwIdentification.h>
#include <ZemoApp.h>

#include <iostream>

int main() {
  __IsoAgLib::ZemoApp application;
  std::string identification = __IsoAgLib::formatAppSwIdentification("Consumer", nullptr);
  if (!application.init(__IsoAgLib::ZemoAppPlain, identification, 128, 0, 0, 29, 0, 0, 0, true, false)) {
    return 1;
  }
  std::cout << identification << '\n' << application.getSerialNumber(0) << '\n' << sizeof(void*) * 8 << " bit\n";
  application.close();
  std::cout << "closed" << std::endl;
  return 0;
}
