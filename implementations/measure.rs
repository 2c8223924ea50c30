// A benchmark: `PROGRAM WORKLOADS_DIR SECONDS`.

use std::arch::asm;
use std::time::Instant;

/// Uses the value, so that the compiler cannot drop what computes it.
fn keep<T>(value: &T) {
    unsafe { asm!("/* {0} */", in(reg) value, options(nostack, preserves_flags)) }
}

pub struct Measurer {
    folder: String,
    seconds: f64,
}

impl Measurer {
    pub fn from_arguments() -> Measurer {
        let arguments: Vec<String> = std::env::args().collect();
        let seconds = match arguments.as_slice() {
            [_, _, seconds] => seconds.parse().unwrap_or(0.0),
            _ => 0.0,
        };
        if !(seconds > 0.0) {
            eprintln!("usage: {} WORKLOADS_DIR SECONDS", arguments[0]);
            std::process::exit(2);
        }
        Measurer {
            folder: arguments[1].clone(),
            seconds,
        }
    }

    pub fn bytes(&self, workload: &str) -> Vec<u8> {
        let path = format!("{}/{}.pb", self.folder, workload);
        std::fs::read(&path).unwrap_or_else(|error| panic!("{path}: {error}"))
    }

    /// Prints the nanoseconds of one call of `action`: the median of nine batches.
    pub fn time<T>(&self, workload: &str, operation: &str, action: impl Fn() -> T) {
        let batch = |calls: u64| {
            let start = Instant::now();
            for _ in 0..calls {
                keep(&action());
            }
            start.elapsed().as_secs_f64()
        };
        const BATCHES: usize = 9;
        let mut calls = 1;
        let mut elapsed = batch(calls);
        while elapsed < self.seconds / 10.0 {
            // the warm-up
            calls *= 2;
            elapsed = batch(calls);
        }
        let wanted = self.seconds / BATCHES as f64;
        let calls = ((calls as f64 * wanted / elapsed) as u64).max(1);
        let mut batches: Vec<f64> = (0..BATCHES).map(|_| batch(calls) / calls as f64).collect();
        batches.sort_by(f64::total_cmp);
        println!("{workload}\t{operation}\t{:.1}", batches[BATCHES / 2] * 1e9);
    }
}

/// Panics unless the bytes written are those read, or as many if the order may differ.
pub fn check(workload: &str, written: &[u8], read: &[u8], same_order: bool) {
    let same = if same_order {
        written == read
    } else {
        written.len() == read.len()
    };
    assert!(
        same,
        "{workload}: writes {} bytes that differ from the {} bytes of the workload",
        written.len(),
        read.len()
    );
}
