#include "service/Schema.h"

namespace service {

const std::vector<std::vector<const char*>>& Migrations() {
  static const std::vector<std::vector<const char*>> migrations = {
      {
          "CREATE TABLE accounts (id VARCHAR(32) PRIMARY KEY, login VARCHAR(255) NOT NULL UNIQUE, "
          "password_hash VARCHAR(255) NOT NULL, name VARCHAR(255) NOT NULL, "
          "email VARCHAR(255) NOT NULL, loopback_only INTEGER NOT NULL, created BIGINT NOT NULL)",
          "CREATE TABLE sessions (token_hash VARCHAR(64) PRIMARY KEY, "
          "account_id VARCHAR(32) NOT NULL, expires BIGINT NOT NULL)",
          "CREATE INDEX sessions_by_account ON sessions (account_id)",
          "CREATE TABLE pictures (id VARCHAR(32) PRIMARY KEY, type VARCHAR(64) NOT NULL, "
          "bytes BLOB NOT NULL)",
          "CREATE TABLE activities (id VARCHAR(32) PRIMARY KEY, account_id VARCHAR(32) NOT NULL, "
          "title VARCHAR(255) NOT NULL, cover_id VARCHAR(32) NOT NULL, start_time BIGINT NOT NULL, "
          "publish_url VARCHAR(1024) NOT NULL, view_url VARCHAR(1024) NOT NULL, "
          "stream_key VARCHAR(64) NOT NULL UNIQUE, is_open INTEGER NOT NULL)",
          "CREATE INDEX activities_by_account ON activities (account_id, start_time, id)",
          "CREATE TABLE settings (name VARCHAR(64) PRIMARY KEY, value VARCHAR(1024) NOT NULL)",
      },
      {
          // running_of is the activity while the broadcast runs and its own id afterwards, so that
          // the database itself holds "one at a time" on any engine.
          "CREATE TABLE broadcasts (id VARCHAR(32) PRIMARY KEY, activity_id VARCHAR(32) NOT NULL, "
          "account_id VARCHAR(32) NOT NULL, token_hash VARCHAR(64) NOT NULL, "
          "started BIGINT NOT NULL, ended BIGINT NOT NULL, running_of VARCHAR(32) NOT NULL UNIQUE)",
          "CREATE INDEX broadcasts_by_activity ON broadcasts (activity_id, started)",
          "CREATE TABLE publishing (activity_id VARCHAR(32) PRIMARY KEY, since BIGINT NOT NULL)",
      },
  };
  return migrations;
}

}  // namespace service
