mod debian/qmsg.ini
