#pragma once

#include <QStringList>

namespace px40 {

class UserStore;

/// The data files that were opened or saved last, kept per user.
class RecentFiles
{
  public:
    static constexpr int Most = 8;

    /// `store` must outlive this.
    explicit RecentFiles(UserStore &store);

    /// Full names, the newest first.
    const QStringList &Names() const { return names_; }

    void Add(const QString &name);
    void Remove(const QString &name);
    void Clear();

  private:
    void Keep();

    UserStore *store_;
    QStringList names_;
};

} // namespace px40
