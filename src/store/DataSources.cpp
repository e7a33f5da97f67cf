#include "store/DataSources.h"

#include <QByteArray>
#include <QDir>
#include <QFile>

#include <pwd.h>
#include <sql.h>
#include <sqlext.h>
#include <unistd.h>

namespace store::datasources {
namespace {

// An environment handle of the driver manager for one enumeration.
class Environment {
public:
    Environment()
    {
        if (!SQL_SUCCEEDED(SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &m_env))) {
            m_env = SQL_NULL_HENV;
            return;
        }
        SQLSetEnvAttr(m_env, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
    }
    ~Environment()
    {
        if (m_env != SQL_NULL_HENV)
            SQLFreeHandle(SQL_HANDLE_ENV, m_env);
    }
    Environment(const Environment &) = delete;
    Environment &operator=(const Environment &) = delete;
    SQLHENV handle() const { return m_env; }

private:
    SQLHENV m_env = SQL_NULL_HENV;
};

template <typename Next>
bool anyNamed(const QString &name, Next next)
{
    Environment env;
    if (env.handle() == SQL_NULL_HENV)
        return false;
    SQLCHAR found[512];
    SQLCHAR description[1024];
    SQLSMALLINT foundLength = 0;
    SQLSMALLINT descriptionLength = 0;
    bool match = false;
    // The enumeration is read to its end: the driver manager keeps its place per handle.
    for (SQLUSMALLINT direction = SQL_FETCH_FIRST;
         SQL_SUCCEEDED(next(env.handle(), direction, found, SQLSMALLINT(sizeof found), &foundLength, description,
                            SQLSMALLINT(sizeof description), &descriptionLength));
         direction = SQL_FETCH_NEXT) {
        if (QString::fromLocal8Bit(reinterpret_cast<const char *>(found)).compare(name, Qt::CaseInsensitive) == 0)
            match = true;
    }
    return match;
}

}  // namespace

bool defined(const QString &name)
{
    return anyNamed(name, SQLDataSources);
}

bool driverInstalled(const QString &name)
{
    return anyNamed(name, SQLDrivers);
}

QString userFile()
{
    const QByteArray fromEnvironment = qgetenv("ODBCINI");
    if (!fromEnvironment.isEmpty())
        return QFile::decodeName(fromEnvironment);
    const passwd *account = getpwuid(geteuid());
    const QString home = account && account->pw_dir ? QFile::decodeName(account->pw_dir) : QDir::homePath();
    return home + QStringLiteral("/.odbc.ini");
}

}  // namespace store::datasources
