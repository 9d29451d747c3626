#pragma once

#include <cstddef>
#include <vector>

#include "server/database.h"
#include "server/media.h"

namespace vellmar::server {

// A sample file compiled into the server (from server/seed).
struct SeedFile {
  const char* name;
  const unsigned char* bytes;
  std::size_t size;
};
const std::vector<SeedFile>& seedFiles();

// The sample document's body (the first document of a new data folder).
const char* sampleDocumentBody();

// On the first start with a data folder: the sample document, the sample images and the link and
// e-mail link lists. Does nothing once the folder has been seeded, even if everything was deleted
// since.
void seedIfNew(Database& db, MediaStore& media);

}  // namespace vellmar::server
