//! Prints the hardware inventory of this machine, one document a line.
//!
//!     machine [--log] LIBRARY [KIND...]
use hw_inventory::{Inventory, KINDS};
use std::os::raw::c_char;
use std::path::Path;

#[path = "../hw_inventory.rs"]
mod hw_inventory;

extern "C" fn print_log(level: u32, message: *const c_char) {
    println!("log {}: {}", level, hw_inventory::text(message));
}

fn main() {
    let mut words: Vec<String> = std::env::args().skip(1).collect();
    let log = words.first().map_or(false, |word| word == "--log");
    if log {
        words.remove(0);
    }
    if words.is_empty() {
        println!("usage: machine [--log] LIBRARY [KIND...]");
        std::process::exit(64);
    }
    let path = words.remove(0);
    let inventory = match Inventory::load(Path::new(&path), if log { Some(print_log) } else { None }) {
        Ok(inventory) => inventory,
        Err(problem) => {
            println!("{}", problem);
            std::process::exit(1);
        }
    };
    let kinds = if words.is_empty() { KINDS.map(String::from).to_vec() } else { words };
    for kind in kinds {
        match inventory.collect(&kind) {
            Ok(document) => println!("{}", document),
            Err(failure) => println!("{}", failure),
        }
    }
}
