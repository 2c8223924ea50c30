"""docs/messages.svg shows the messages as they are declared."""

import re
import unittest

from declarations import ROOT, declared, model
from google.protobuf import descriptor_pb2

import diagram


class Picture(unittest.TestCase):
    def test_shows_which_message_holds_which(self):
        names, edges = set(), set()
        types = {full_name: type_ for _, full_name, type_ in declared()}
        for _, full_name, type_ in declared():
            if isinstance(type_, descriptor_pb2.DescriptorProto):
                names.add(full_name)
                fields = list(type_.field)
                for nested in type_.nested_type:
                    fields += nested.field if nested.options.map_entry else []
                edges |= {(full_name, field.type_name[1:]) for field in fields
                          if isinstance(types.get(field.type_name[1:]),
                                        descriptor_pb2.DescriptorProto)}
        drawn = (ROOT / "docs/messages.svg").read_text()
        self.assertEqual(diagram.content(drawn), (names, edges), "Renew it: ./dev docs --picture")
        self.assertIn(("quor.protobuf.JQ.AttrList", "quor.protobuf.QuorPHP.QVal"), edges)

    def test_has_the_colours_of_diagram_py(self):
        drawn = (ROOT / "docs/messages.svg").read_text()
        style = re.search(r"<style>.*?</style>", diagram.standalone(model()), re.S)[0]
        self.assertIn(style, drawn, "Renew it: ./dev docs --picture")


if __name__ == "__main__":
    unittest.main()
