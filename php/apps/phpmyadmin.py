"""phpMyAdmin, on the accounts and tables of the same MariaDB."""

import secrets
import shutil

from application import Application, Page, require
from browser import hidden_fields
from servers import give_to_web_user

NEEDS_DATABASE = True

TABLES = """USE ledger;
CREATE TABLE fruit (id INT PRIMARY KEY AUTO_INCREMENT, name VARCHAR(40), price DECIMAL(6, 2));
INSERT INTO fruit (name, price) VALUES ('pear', 1.25), ('quince', 3.5), ('Äpfel', 0.8);
CREATE VIEW cheap AS SELECT name FROM fruit WHERE price < 1;
"""


def install(folder, database):
    root = folder / "phpmyadmin"
    shutil.copytree("/usr/share/phpmyadmin", root)
    temporary = folder / "phpmyadmin-tmp"
    temporary.mkdir()
    password = database.create("ledger")
    database.run(TABLES)
    key = secrets.token_hex(16)
    paths = root / "libraries/vendor_config.php"
    text = paths.read_text()
    for name, value in (("/var/lib/phpmyadmin/tmp/", f"{temporary}/"),
                        ("/etc/phpmyadmin/config.inc.php", f"{root}/config.inc.php")):
        assert f"'{name}'" in text, f"{paths} does not name {name}"
        text = text.replace(f"'{name}'", f"'{value}'")
    paths.write_text(text)
    (root / "config.inc.php").write_text(f"""<?php
$cfg['blowfish_secret'] = '{key}';
$cfg['Servers'][1] = ['auth_type' => 'cookie', 'host' => 'localhost', 'socket' => '{database.socket}'];
$cfg['SendErrorReports'] = 'never';
$cfg['PmaNoRelation_DisableWarning'] = true;
""")
    for path in (root, temporary):
        give_to_web_user(path)

    def log_in(browser):
        form = hidden_fields(browser.get("/index.php?route=/").body, "pma_password")
        browser.post("/index.php?route=/", {**form, "pma_username": "ledger", "pma_password": password,
                                            "server": "1"})
        require(browser.get("/index.php?route=/"), "ledger@localhost", "the login of phpMyAdmin")

    return Application(
        root=root,
        pages=[
            Page("/", "Welcome to"),
            Page("/index.php?route=/", "pma_username"),
            Page("/index.php?route=/missing", "pma_username"),
            Page("/js/messages.php?l=en&v=5.2.1", "Messages"),
        ],
        pages_after_login=[
            Page("/index.php?route=/server/databases", "ledger"),
            Page("/index.php?route=/database/structure&db=ledger", "fruit"),
            Page("/index.php?route=/sql&db=ledger&table=fruit&pos=0", "quince"),
            Page("/index.php?route=/table/structure&db=ledger&table=fruit", "decimal(6,2)"),
            Page("/index.php?route=/table/search&db=ledger&table=fruit", "price"),
            Page("/index.php?route=/database/sql&db=ledger", "sqlquery"),
            Page("/index.php?route=/server/variables", "innodb_buffer_pool_size"),
        ],
        log_in=log_in,
        secrets={"the account's password": password, "the key of the cookies": key},
        volatile=(r"[0-9a-f]{16,}", r'name="set_session" value="[^"]*"', r"\d{7,}", r"[\d.]+ seconds"),
        database_user="ledger")
