// A program that waits for its end, for the tests of running processes. It says that it is up by a file of
// that name in the folder F.
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

int main() {
  close(creat((std::string(std::getenv("F")) + "/up").c_str(), 0600));
  return pause();
}
