"""The generated modules, under each implementation of Python's protobuf."""

import ctypes
import importlib
import os
import pickle
import unittest

import qmsg
from google.protobuf import duration_pb2, message
from qmsg import (codetrace_pb2, config_pb2, jobqueue_pb2, login_pb2, monitor_pb2, quorphp_pb2,
                  tarq_pb2)

import support

EXPECTED = os.environ["QMSG_EXPECTED"]
MODULES = [importlib.import_module(f"qmsg.{schema}_pb2") for schema in support.SCHEMAS]
CLASSES = [getattr(module, name) for module in MODULES
           for name in module.DESCRIPTOR.message_types_by_name]

MESSAGES = [
    (codetrace_pb2.Header(flags=300), "08 ac 02"),
    (config_pb2.Value(key="k", value_type=config_pb2.Value.UINT, uint_value=2**64 - 1),
     "0a 01 6b  10 03  28 ff ff ff ff ff ff ff ff ff 01"),
    (jobqueue_pb2.QueueId(queue_id=0), "08 00"),
    (jobqueue_pb2.AttrList(attr_list={
        -1: quorphp_pb2.QVal(value_type=quorphp_pb2.QVal.BOOL, bool_value=False)}),
     "0a 11  08 ff ff ff ff ff ff ff ff ff 01  12 04  08 02  10 00"),
    (login_pb2.Login(hostname="ü"), "0a 02 c3 bc"),
    (monitor_pb2.Event(event_type=monitor_pb2.Event.CustomEvent,
                       exec_time=duration_pb2.Duration()),
     "08 05  32 00"),
    (quorphp_pb2.StackTrace(frames=[quorphp_pb2.StackTraceFrame(frame_id=1, line_no=128)]),
     "0a 05  08 01  20 80 01"),
    (tarq_pb2.SqlQueries(queue_id="r1", queries=[tarq_pb2.SqlQuery(
        connection_id=0, duration=duration_pb2.Duration(nanos=1500000), rows=12)]),
     "0a 02 72 31  12 0a  10 00  4a 04  10 e0 c6 5b  50 0c"),
]


def virtual_table(instance):
    """Which C++ class a Python message holds: ahead of the pointer to the C++ message lie Python's
    own header, the parent and the parent's field."""
    held = ctypes.c_void_p.from_address(id(instance) + 32).value
    return ctypes.c_void_p.from_address(held).value


def compiled_virtual_table(library, descriptor):
    names = descriptor.full_name.split(".")
    symbol = "_ZTVN" + "".join(f"{len(name)}{name}" for name in names) + "E"
    return ctypes.addressof(ctypes.c_char.in_dll(library, symbol)) + 16


class Implementation(unittest.TestCase):
    def test_says_which_one_is_active(self):
        self.assertEqual(qmsg.implementation(), EXPECTED)

    @unittest.skipUnless(EXPECTED == "compiled classes", "there are no compiled classes")
    def test_every_message_is_of_the_class_in_the_library(self):
        self.assertEqual(len(CLASSES), 49)
        library = ctypes.CDLL("libqmsg.so.1", mode=os.RTLD_NOLOAD)
        for kind in CLASSES:
            with self.subTest(message=kind.DESCRIPTOR.full_name):
                self.assertEqual(virtual_table(kind()),
                                 compiled_virtual_table(library, kind.DESCRIPTOR))

    @unittest.skipIf(EXPECTED == "compiled classes", "the library is in use")
    def test_does_without_the_library(self):
        with self.assertRaises(OSError):
            ctypes.CDLL("libqmsg.so.1", mode=os.RTLD_NOLOAD)


class Messages(unittest.TestCase):
    def test_write_the_bytes(self):
        for value, expected in MESSAGES:
            with self.subTest(message=value.DESCRIPTOR.full_name):
                self.assertEqual(value.SerializeToString().hex(), expected.replace(" ", ""))

    def test_read_the_bytes(self):
        for expected, encoded in MESSAGES:
            with self.subTest(message=expected.DESCRIPTOR.full_name):
                self.assertEqual(type(expected).FromString(bytes.fromhex(encoded)), expected)

    def test_keep_fields_that_are_not_declared(self):
        encoded = bytes.fromhex("0a 01 68  f8 01 07")
        self.assertEqual(login_pb2.Login.FromString(encoded).SerializeToString(), encoded)

    def test_refuse_truncated_bytes(self):
        with self.assertRaises(message.DecodeError):
            login_pb2.Login.FromString(bytes.fromhex("0a 05 68"))

    def test_tell_0_from_absence(self):
        self.assertTrue(jobqueue_pb2.QueueId.FromString(b"\x08\x00").HasField("queue_id"))
        self.assertFalse(jobqueue_pb2.QueueId().HasField("queue_id"))

    def test_can_be_pickled(self):
        for value, _ in MESSAGES:
            with self.subTest(message=value.DESCRIPTOR.full_name):
                self.assertEqual(pickle.loads(pickle.dumps(value)), value)

    def test_belong_to_the_modules_of_the_package(self):
        for module in MODULES:
            for name in module.DESCRIPTOR.message_types_by_name:
                self.assertEqual(getattr(module, name).__module__, module.__name__)


def setUpModule():
    if EXPECTED == "C++ runtime, dynamic" and support.library_is_installed():
        raise unittest.SkipTest("a libqmsg is installed on this system")


if __name__ == "__main__":
    unittest.main()
