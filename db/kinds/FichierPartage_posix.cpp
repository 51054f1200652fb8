#include "db/kinds/FichierPartage.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>

namespace tamlo::db::kinds {

namespace {

class Descripteur {
 public:
  explicit Descripteur(const std::string& chemin) : fd_(::open(chemin.c_str(), O_RDONLY | O_CLOEXEC)) {}
  ~Descripteur() {
    if (fd_ >= 0) ::close(fd_);
  }
  Descripteur(const Descripteur&) = delete;
  Descripteur& operator=(const Descripteur&) = delete;
  [[nodiscard]] int Fd() const noexcept { return fd_; }

  /// False when another process holds either kind of lock; a file system without locks counts as free.
  [[nodiscard]] bool Libre() const {
    if (::flock(fd_, LOCK_SH | LOCK_NB) != 0 && errno == EWOULDBLOCK) return false;
    struct flock lecture {};
    lecture.l_type = F_RDLCK;
    lecture.l_whence = SEEK_SET;
    return ::fcntl(fd_, F_SETLK, &lecture) == 0 || (errno != EACCES && errno != EAGAIN);
  }

 private:
  int fd_;
};

}  // namespace

std::optional<std::string> LitFichierLibre(const std::string& chemin) {
  const Descripteur fichier(chemin);
  if (fichier.Fd() < 0 || !fichier.Libre()) return std::nullopt;
  std::string octets;
  char bloc[4096];
  for (;;) {
    const ssize_t lus = ::read(fichier.Fd(), bloc, sizeof bloc);
    if (lus == 0) return octets;
    if (lus < 0) {
      if (errno == EINTR) continue;
      return std::nullopt;
    }
    octets.append(bloc, static_cast<std::size_t>(lus));
  }
}

}  // namespace tamlo::db::kinds
