// Go's protobuf: reads and writes each message that comes on a line. Its classes are made from the
// descriptor set, since the code that protoc-gen-go writes for monitor.proto does not compile: it
// names both an enum value and a oneof member of Event "Event_PhpError".
package main

import (
	"bufio"
	_ "embed"
	"encoding/hex"
	"fmt"
	"log"
	"os"
	"strings"

	"google.golang.org/protobuf/encoding/protojson"
	"google.golang.org/protobuf/proto"
	"google.golang.org/protobuf/reflect/protodesc"
	"google.golang.org/protobuf/reflect/protoreflect"
	"google.golang.org/protobuf/reflect/protoregistry"
	"google.golang.org/protobuf/types/descriptorpb"
	"google.golang.org/protobuf/types/dynamicpb"
)

//go:embed qmsg.desc
var descriptorSet []byte

func must[T any](value T, err error) T {
	if err != nil {
		log.Fatal(err)
	}
	return value
}

func schema() *protoregistry.Files {
	var set descriptorpb.FileDescriptorSet
	if err := proto.Unmarshal(descriptorSet, &set); err != nil {
		log.Fatal(err)
	}
	return must(protodesc.NewFiles(&set))
}

// The runtime panics where a map entry's key is followed by one of another wire type. The panic is
// how it refuses the bytes.
func unmarshal(read []byte, message proto.Message) (err error) {
	defer func() {
		if problem := recover(); problem != nil {
			err = fmt.Errorf("panic: %v", problem)
		}
	}()
	return proto.Unmarshal(read, message)
}

func answer(messages *protoregistry.Files, name protoreflect.FullName, read []byte) string {
	found, err := messages.FindDescriptorByName(name)
	if err != nil {
		return "unknown-type"
	}
	message := dynamicpb.NewMessage(found.(protoreflect.MessageDescriptor))
	if unmarshal(read, message) != nil {
		return "refused"
	}
	written := must(proto.MarshalOptions{Deterministic: true}.Marshal(message))
	text := hex.EncodeToString(written)
	if text == "" {
		text = "-"
	}
	// A Timestamp or Duration out of its range has no JSON.
	if inJson, err := protojson.Marshal(message); err == nil {
		text += " " + string(inJson)
	}
	return "accepted " + text
}

func main() {
	messages := schema()
	in := bufio.NewScanner(os.Stdin)
	in.Buffer(nil, 1<<28)
	out := bufio.NewWriter(os.Stdout)
	for in.Scan() {
		name, text, _ := strings.Cut(in.Text(), " ")
		read := must(hex.DecodeString(strings.TrimPrefix(text, "-")))
		fmt.Fprintln(out, answer(messages, protoreflect.FullName(name), read))
	}
	if in.Err() != nil || out.Flush() != nil {
		log.Fatal("broken pipe: ", in.Err())
	}
}
