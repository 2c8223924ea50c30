// The crate protobuf: parses and writes the messages.

mod measure;

#[allow(dead_code)]
mod messages {
    include!(concat!(env!("OUT_DIR"), "/mod.rs"));
}

use measure::{check, Measurer};
use messages::{jobqueue, monitor, tarq};
use protobuf::Message;

fn measure_message<T: Message>(measurer: &Measurer, workload: &str) {
    let bytes = measurer.bytes(workload);
    let message = T::parse_from_bytes(&bytes).unwrap();
    // The members of oneofs are written after all other fields, the entries of a map in any order.
    check(workload, &message.write_to_bytes().unwrap(), &bytes, false);

    measurer.time(workload, "parse", || T::parse_from_bytes(&bytes).unwrap());
    measurer.time(workload, "serialise", || message.write_to_bytes().unwrap());
}

fn main() {
    let measurer = Measurer::from_arguments();
    measure_message::<tarq::SqlQuery>(&measurer, "SqlQuery");
    measure_message::<tarq::SqlQueries>(&measurer, "SqlQueries");
    measure_message::<tarq::Functions>(&measurer, "Functions");
    measure_message::<jobqueue::JobList>(&measurer, "JobList");
    measure_message::<monitor::Event>(&measurer, "Event");
    measure_message::<tarq::Storage>(&measurer, "Text");
}
