// Go's protobuf: reads and writes the messages. The Event is left out, since the code that
// protoc-gen-go writes for monitor.proto does not compile: it names both an enum value and a oneof
// member "Event_PhpError".
package main

import (
	"bytes"
	"fmt"
	"log"
	"os"
	"path/filepath"
	"sort"
	"strconv"
	"time"

	"google.golang.org/protobuf/proto"

	"qmsg/jobqueue"
	"qmsg/tarq"
)

type measurer struct {
	folder  string
	seconds float64
}

// The seconds of `calls` calls.
func batch(calls int, action func()) float64 {
	start := time.Now()
	for i := 0; i < calls; i++ {
		action()
	}
	return time.Since(start).Seconds()
}

// Prints the nanoseconds of one call of the action: the median of nine batches.
func (m measurer) time(workload, operation string, action func()) {
	calls := 1
	elapsed := batch(calls, action)
	for elapsed < m.seconds/10 { // the warm-up
		calls *= 2
		elapsed = batch(calls, action)
	}
	batches := make([]float64, 9)
	calls = int(float64(calls) * m.seconds / float64(len(batches)) / elapsed)
	if calls < 1 {
		calls = 1
	}
	for i := range batches {
		batches[i] = batch(calls, action) / float64(calls)
	}
	sort.Float64s(batches)
	fmt.Printf("%s\t%s\t%.1f\n", workload, operation, batches[len(batches)/2]*1e9)
}

// The results outlive the measurement, so that the compiler cannot drop the calls.
var (
	message proto.Message
	written []byte
)

func (m measurer) measure(workload string, empty func() proto.Message) {
	read, err := os.ReadFile(filepath.Join(m.folder, workload+".pb"))
	if err != nil {
		log.Fatal(err)
	}
	parse := func() {
		message = empty()
		if err := proto.Unmarshal(read, message); err != nil {
			log.Fatal(workload, ": ", err)
		}
	}
	parse()
	// Otherwise the entries of a map and the members of oneofs are written in any order.
	written, err = proto.MarshalOptions{Deterministic: true}.Marshal(message)
	if err != nil {
		log.Fatal(workload, ": ", err)
	}
	if len(written) != len(read) || workload == "Text" && !bytes.Equal(written, read) {
		log.Fatalf("%s: writes %d bytes that differ from the %d bytes of the workload", workload,
			len(written), len(read))
	}

	m.time(workload, "parse", parse)
	serialised := message
	m.time(workload, "serialise", func() {
		if written, err = proto.Marshal(serialised); err != nil {
			log.Fatal(workload, ": ", err)
		}
	})
}

func main() {
	var m measurer
	if len(os.Args) == 3 {
		m.folder = os.Args[1]
		m.seconds, _ = strconv.ParseFloat(os.Args[2], 64)
	}
	if m.seconds <= 0 {
		fmt.Fprintf(os.Stderr, "usage: %s WORKLOADS_DIR SECONDS\n", os.Args[0])
		os.Exit(2)
	}
	m.measure("SqlQuery", func() proto.Message { return new(tarq.SqlQuery) })
	m.measure("SqlQueries", func() proto.Message { return new(tarq.SqlQueries) })
	m.measure("Functions", func() proto.Message { return new(tarq.Functions) })
	m.measure("JobList", func() proto.Message { return new(jobqueue.JobList) })
	m.measure("Text", func() proto.Message { return new(tarq.Storage) })
}
