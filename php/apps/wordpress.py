"""WordPress with MariaDB."""

import re
import secrets
import shutil

from application import Application, Page, require
from browser import Browser
from servers import Served, give_to_web_user

NEEDS_DATABASE = True

SALTS = ("AUTH_KEY", "SECURE_AUTH_KEY", "LOGGED_IN_KEY", "NONCE_KEY",
         "AUTH_SALT", "SECURE_AUTH_SALT", "LOGGED_IN_SALT", "NONCE_SALT")

# Takes longer than a test needs to kill its worker or to restart the server.
SLOW_PAGE = """<?php
require __DIR__ . '/wp-load.php';
$wpdb->get_var("SELECT COUNT(*) FROM {$wpdb->posts}");
usleep((int)$_GET['ms'] * 1000);
echo 'The slow page is complete.';
"""


def _settings(database, password, salts):
    constants = {"DB_NAME": "wordpress", "DB_USER": "wordpress", "DB_PASSWORD": password,
                 "DB_HOST": f"localhost:{database.socket}", "DB_CHARSET": "utf8mb4",
                 "DB_COLLATE": "", **salts}
    lines = [f"define('{name}', '{value}');" for name, value in constants.items()]
    # Each page is the same for each port, and no page asks other servers or runs what is due.
    lines += ["define('WP_HOME', 'http://' . $_SERVER['HTTP_HOST']);",
              "define('WP_SITEURL', WP_HOME);",
              "define('DISABLE_WP_CRON', true);",
              "define('WP_HTTP_BLOCK_EXTERNAL', true);",
              "define('AUTOMATIC_UPDATER_DISABLED', true);",
              "$table_prefix = 'wp_';",
              "defined('ABSPATH') || define('ABSPATH', __DIR__ . '/');",
              "require_once ABSPATH . 'wp-settings.php';"]
    return "<?php\n" + "\n".join(lines) + "\n"


def install(folder, database):
    root = folder / "wordpress"
    shutil.copytree("/usr/share/wordpress", root)  # follows links to other packages
    password = database.create("wordpress")
    salts = {name: f"salt-{secrets.token_hex(24)}" for name in SALTS}
    (root / "wp-config.php").write_text(_settings(database, password, salts))
    (root / "slow.php").write_text(SLOW_PAGE)
    give_to_web_user(root)
    admin = "admin-" + secrets.token_hex(8)
    with Served(folder, root, {}).running() as server, Browser(server.port) as browser:
        page = browser.post("/wp-admin/install.php?step=2", {
            "weblog_title": "The test's site", "user_name": "keeper", "admin_password": admin,
            "admin_password2": admin, "pw_weak": "1", "admin_email": "keeper@site.test",
            "blog_public": "0", "language": "", "Submit": "Install WordPress"})
        require(page, "WordPress has been installed", "the installation of WordPress")

    def log_in(browser):
        browser.get("/wp-login.php")
        page = browser.post("/wp-login.php", {
            "log": "keeper", "pwd": admin, "wp-submit": "Log In", "testcookie": "1",
            "redirect_to": "http://site.test/wp-admin/"})
        require(page, "", "the login of WordPress", 302)

    return Application(
        root=root,
        pages=[
            Page("/", "Hello world!"),
            Page("/?p=1", "Welcome to WordPress"),
            Page("/?page_id=2", "Sample Page"),
            Page("/?feed=rss2", "<title>Hello world!</title>"),
            Page("/?s=welcome", "Hello world!"),
            Page("/?author=1", "keeper"),
            Page("/?p=999", "could not be found", 404),
            Page("/?rest_route=/wp/v2/posts", '"slug":"hello-world"'),
            Page("/wp-login.php", "Username or Email Address"),
        ],
        pages_after_login=[
            Page("/wp-admin/", "Dashboard"),
            Page("/wp-admin/edit.php", "Hello world!"),
            Page("/wp-admin/users.php", "keeper@site.test"),
            Page("/wp-admin/options-general.php", "Tagline"),
            Page("/wp-admin/post.php?post=1&action=edit", "block-editor"),
        ],
        log_in=log_in,
        secrets={"the database's password": password, "the administrator's password": admin,
                 **{f"the constant {name}": value for name, value in salts.items()}},
        volatile=(r"\b[0-9a-f]{10}\b", r"\b[0-2]\.gravatar"),  # nonces; one of three hosts
        database_user="wordpress")
