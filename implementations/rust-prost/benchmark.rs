// prost: decodes and encodes the messages.

mod measure;

#[allow(clippy::all)]
mod messages {
    include!(concat!(env!("OUT_DIR"), "/messages.rs"));
}

use measure::{check, Measurer};
use messages::quor::protobuf::{jq, monitor, tarq};
use prost::Message;

fn measure_message<T: Message + Default>(measurer: &Measurer, workload: &str) {
    let bytes = measurer.bytes(workload);
    let message = T::decode(bytes.as_slice()).unwrap();
    // A map is a HashMap, whose order differs from run to run.
    let has_map = workload == "JobList";
    check(workload, &message.encode_to_vec(), &bytes, !has_map);

    measurer.time(workload, "parse", || T::decode(bytes.as_slice()).unwrap());
    measurer.time(workload, "serialise", || message.encode_to_vec());
}

fn main() {
    let measurer = Measurer::from_arguments();
    measure_message::<tarq::SqlQuery>(&measurer, "SqlQuery");
    measure_message::<tarq::SqlQueries>(&measurer, "SqlQueries");
    measure_message::<tarq::Functions>(&measurer, "Functions");
    measure_message::<jq::JobList>(&measurer, "JobList");
    measure_message::<monitor::Event>(&measurer, "Event");
    measure_message::<tarq::Storage>(&measurer, "Text");
}
