// The crate protobuf: reads and writes the message of each line.

use std::io::{self, BufRead, BufWriter, Write};

mod messages {
    include!(concat!(env!("OUT_DIR"), "/mod.rs"));
}

fn from_hex(hex: &str) -> Vec<u8> {
    assert!(hex.len() % 2 == 0, "half a byte: {hex}");
    (0..hex.len())
        .step_by(2)
        .map(|i| u8::from_str_radix(&hex[i..i + 2], 16).unwrap())
        .collect()
}

fn to_hex(bytes: &[u8]) -> String {
    bytes.iter().map(|byte| format!("{byte:02x}")).collect()
}

fn answer(name: &str, hex: &str) -> String {
    let mut message = match messages::new_message(name) {
        Some(message) => message,
        None => return "unknown-type".to_string(),
    };
    let read = if hex == "-" {
        Vec::new()
    } else {
        from_hex(hex)
    };
    if message.merge_from_bytes(&read).is_err() {
        return "refused".to_string();
    }
    let written = message.write_to_bytes().unwrap();
    format!(
        "accepted {}",
        if written.is_empty() {
            "-".to_string()
        } else {
            to_hex(&written)
        }
    )
}

fn main() {
    let mut out = BufWriter::new(io::stdout().lock());
    for line in io::stdin().lock().lines() {
        let line = line.unwrap();
        let (name, hex) = line.split_once(' ').expect("a type and its bytes");
        writeln!(out, "{}", answer(name, hex)).unwrap();
    }
}
