// A tiny host that uses the installed package through the umbrella headers only.
#include <ostra/metadata_services.h>

#include <iostream>

int main() {
  Ostra::CRC32 crc;
  crc.Update("123456789");
  const Ostra::Message<Ostra::Provider::Metadata::MetadataSvc> message(
      "ostra.metada.cli.source.not.found", "src1");
  const auto error =
      Ostra::Data::ErrorFactory::GetError<Com::Corvane::Ostra::Std::Errors::NotFound>({message});
  const auto messages = Ostra::Data::ErrorFactory::GetMessages(*error);
  std::cout << crc.Hexdigest() << " " << messages.front().GetId() << " "
            << messages.front().GetDefaultMessage() << "\n";
  return messages.size() == 1 ? 0 : 1;
}
